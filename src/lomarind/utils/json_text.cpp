#include "lomarind/utils/json_text.h"

#include <fmt/format.h>

#include "lomarind/utils/utf8.h"

namespace lomarind::json_text {
namespace {

void append_ascii(std::string& out, char c) {
  switch (c) {
    case '"':
      out += "\\\"";
      return;
    case '\\':
      out += "\\\\";
      return;
    case '\b':
      out += "\\b";
      return;
    case '\f':
      out += "\\f";
      return;
    case '\n':
      out += "\\n";
      return;
    case '\r':
      out += "\\r";
      return;
    case '\t':
      out += "\\t";
      return;
    default:
      break;
  }
  if (static_cast<unsigned char>(c) < 0x20) {
    out += fmt::format("\\u{:04x}", static_cast<unsigned char>(c));
  } else {
    out += c;
  }
}

}  // namespace

void append_string(std::string& out, std::string_view text, NonUtf8 bytes) {
  out += '"';
  for (std::size_t pos = 0; pos < text.size();) {
    const auto byte = static_cast<unsigned char>(text[pos]);
    if (byte < 0x80 || bytes == NonUtf8::kKeep) {
      if (byte < 0x80)
        append_ascii(out, text[pos]);
      else
        out += text[pos];
      ++pos;
    } else if (const auto cp = utf8::decode_utf8(text, pos)) {
      out.append(text.substr(pos, cp->length));
      pos += cp->length;
    } else {
      out += fmt::format("\\udc{:02x}", byte);
      ++pos;
    }
  }
  out += '"';
}

}  // namespace lomarind::json_text
