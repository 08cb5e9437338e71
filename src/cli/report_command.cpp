#include <filesystem>
#include <stdexcept>

#include "cli/display_text.h"
#include "cli/report.h"
#include "cli/whole_file.h"

namespace lomarind::cli {

int run_report(const HistorySession& session, const ReportArgs& args, bool index_used,
               const Terminal& terminal) {
  const bool html = args.format != "markdown";
  const std::filesystem::path output =
      args.output.value_or(html ? "lomarind-report.html" : "lomarind-report.md");
  if (output.empty()) throw std::runtime_error("--output is empty; pass the file to write");
  // Every answer is asked and the whole report rendered before the file is
  // touched: a question that cannot be answered leaves no file behind.
  const ReportContent content = gather_report(session, args, index_used, terminal.render.now);
  write_whole_file(output, html ? report_html(content) : report_markdown(content));
  terminal.out << terminal_text(std::filesystem::absolute(output).lexically_normal().string())
               << '\n'
               << std::flush;
  return kExitOk;
}

}  // namespace lomarind::cli
