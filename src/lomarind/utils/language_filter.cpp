#include "lomarind/utils/language_filter.h"

#include <algorithm>
#include <utility>

namespace lomarind::language_filter {
namespace {

using ExtensionLanguage = std::pair<std::string_view, std::string_view>;

// Extension (without the dot) to language; matched case-sensitively.
constexpr ExtensionLanguage kLanguages[] = {
    {"c", "c"},
    {"h", "c"},
    {"cc", "cpp"},
    {"cpp", "cpp"},
    {"cxx", "cpp"},
    {"c++", "cpp"},
    {"hpp", "cpp"},
    {"hh", "cpp"},
    {"hxx", "cpp"},
    {"ipp", "cpp"},
    {"inl", "cpp"},
    {"cs", "csharp"},
    {"go", "go"},
    {"java", "java"},
    {"js", "javascript"},
    {"mjs", "javascript"},
    {"cjs", "javascript"},
    {"jsx", "javascript"},
    {"ts", "typescript"},
    {"tsx", "typescript"},
    {"mts", "typescript"},
    {"cts", "typescript"},
    {"kt", "kotlin"},
    {"kts", "kotlin"},
    {"scala", "scala"},
    {"swift", "swift"},
    {"rb", "ruby"},
    {"php", "php"},
    {"py", "python"},
    {"pyi", "python"},
    {"rs", "rust"},
    {"m", "objective-c"},
    {"mm", "objective-c"},
    {"sh", "shell"},
    {"bash", "shell"},
    {"zsh", "shell"},
    {"lua", "lua"},
    {"pl", "perl"},
    {"pm", "perl"},
    {"r", "r"},
    {"R", "r"},
    {"dart", "dart"},
    {"ex", "elixir"},
    {"exs", "elixir"},
    {"erl", "erlang"},
    {"hrl", "erlang"},
    {"hs", "haskell"},
    {"ml", "ocaml"},
    {"mli", "ocaml"},
    {"clj", "clojure"},
    {"cljs", "clojure"},
    {"cljc", "clojure"},
    {"zig", "zig"},
    {"jl", "julia"},
    {"f", "fortran"},
    {"f90", "fortran"},
    {"f95", "fortran"},
    {"vue", "vue"},
    {"svelte", "svelte"},
    // Documents, data and configuration: known, but not source.
    {"md", "markdown"},
    {"rst", "restructuredtext"},
    {"txt", "text"},
    {"json", "json"},
    {"yml", "yaml"},
    {"yaml", "yaml"},
    {"toml", "toml"},
    {"xml", "xml"},
    {"html", "html"},
    {"htm", "html"},
    {"css", "css"},
    {"scss", "css"},
    {"less", "css"},
    {"sql", "sql"},
    {"ini", "ini"},
    {"cfg", "ini"},
    {"csv", "csv"},
};

}  // namespace

bool in_source_languages(std::string_view language) {
  return std::find(SOURCE_LANGUAGES.begin(), SOURCE_LANGUAGES.end(), language) !=
         SOURCE_LANGUAGES.end();
}

std::optional<std::string_view> extension_of(std::string_view path) {
  const std::size_t slash = path.rfind('/');
  const std::string_view name = slash == std::string_view::npos ? path : path.substr(slash + 1);
  const std::size_t dot = name.rfind('.');
  if (dot == std::string_view::npos || dot == 0) return std::nullopt;
  return name.substr(dot + 1);
}

std::optional<std::string_view> language_of(std::string_view path) {
  const std::optional<std::string_view> extension = extension_of(path);
  if (!extension) return std::nullopt;
  for (const auto& [known, language] : kLanguages) {
    if (known == *extension) return language;
  }
  return std::nullopt;
}

bool is_source_extension(std::string_view path) {
  const std::optional<std::string_view> language = language_of(path);
  return language && in_source_languages(*language);
}

}  // namespace lomarind::language_filter
