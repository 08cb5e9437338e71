#include "cli/commands.h"
#include "cli/json_writer.h"

namespace lomarind::cli {

void print_answer(const Json& answer, bool json,
                  std::string (*table)(const Json&, const RenderOptions&),
                  const Terminal& terminal) {
  // Rendered whole before the first byte is written, so a failure while
  // rendering leaves stdout empty.
  const std::string text = json ? write_json(answer) + "\n" : table(answer, terminal.render);
  terminal.out << text << std::flush;
}

}  // namespace lomarind::cli
