#include "cli/markup_text.h"

#include "cli/display_text.h"

namespace lomarind::cli {

std::string html_text(std::string_view text) {
  std::string out;
  for (char c : page_text(text)) {
    switch (c) {
      case '&':
        out += "&amp;";
        break;
      case '<':
        out += "&lt;";
        break;
      case '>':
        out += "&gt;";
        break;
      case '"':
        out += "&quot;";
        break;
      case '\'':
        out += "&#39;";
        break;
      default:
        out += c;
    }
  }
  return out;
}

std::string markdown_text(std::string_view text) {
  constexpr std::string_view kMarkup = "\\|`*_[]<>&~$";
  std::string out;
  for (char c : page_text(text)) {
    if (kMarkup.find(c) != std::string_view::npos) out += '\\';
    out += c;
  }
  return out;
}

}  // namespace lomarind::cli
