#include "lomarind/extents/source_syntax.h"

#include <utility>

namespace lomarind::repository_changes {
namespace {

using enum BlockStyle;
using enum KeywordRole;

constexpr Keyword kWhereClause[] = {{"where", kWhere}};
constexpr std::string_view kClassHeads[] = {"extends", "implements"};
constexpr std::string_view kWhereWords[] = {"where"};
constexpr std::string_view kScalaHeads[] = {"extends", "with"};
constexpr std::string_view kElixirGuards[] = {"when"};

// `while` and `for` bodies open with their `do`; `elseif` opens nothing.
constexpr Keyword kLuaKeywords[] = {{"function"}, {"do"},          {"if"},
                                    {"repeat"},   {"end", kClose}, {"until", kClose}};

constexpr Keyword kRubyKeywords[] = {{"def"},
                                     {"class"},
                                     {"module"},
                                     {"begin"},
                                     {"case"},
                                     {"do"},
                                     {"for", kOpen, false, true},
                                     {"if", kOpen, true},
                                     {"unless", kOpen, true},
                                     {"while", kOpen, true, true},
                                     {"until", kOpen, true, true},
                                     {"end", kClose}};

constexpr Keyword kElixirKeywords[] = {{"do"}, {"fn"}, {"end", kClose}};

constexpr Keyword kJuliaKeywords[] = {{"function"}, {"if"},         {"for"},       {"while"},
                                      {"begin"},    {"let"},        {"try"},       {"struct"},
                                      {"module"},   {"baremodule"}, {"macro"},     {"quote"},
                                      {"do"},       {"abstract"},   {"primitive"}, {"end", kClose}};

constexpr Keyword kErlangKeywords[] = {{"case"},
                                       {"if"},
                                       {"receive"},
                                       {"try"},
                                       {"begin"},
                                       {"maybe"},
                                       {"fun", kOpen, false, false, true},
                                       {"end", kClose}};

constexpr SourceSyntax kC{.slash_comments = true,
                          .single_quote = Quote::kCharacter,
                          .raw_strings = RawString::kCpp,
                          .preprocessor = true,
                          .colon_lists = true};

constexpr SourceSyntax kObjectiveC{.slash_comments = true,
                                   .single_quote = Quote::kCharacter,
                                   .preprocessor = true,
                                   .objc_blocks = true,
                                   .colon_lists = true};

constexpr SourceSyntax kCsharp{.slash_comments = true,
                               .single_quote = Quote::kCharacter,
                               .triple_quotes = true,
                               .raw_strings = RawString::kCsharp,
                               .preprocessor = true,
                               .colon_lists = true,
                               .keywords = kWhereClause};

constexpr SourceSyntax kJava{
    .slash_comments = true, .single_quote = Quote::kCharacter, .triple_quotes = true};

constexpr SourceSyntax kJavaScript{.newline_ends_statements = true,
                                   .slash_comments = true,
                                   .single_quote = Quote::kString,
                                   .template_literals = true,
                                   .regex_literals = true,
                                   .continuation_words = kClassHeads};

constexpr SourceSyntax kGo{.newline_ends_statements = true,
                           .slash_comments = true,
                           .single_quote = Quote::kCharacter,
                           .backtick = Quote::kRaw};

constexpr SourceSyntax kRust{.slash_comments = true,
                             .nested_comments = true,
                             .single_quote = Quote::kCharacter,
                             .multiline_strings = true,
                             .raw_strings = RawString::kRust,
                             .keywords = kWhereClause};

constexpr SourceSyntax kKotlin{.newline_ends_statements = true,
                               .slash_comments = true,
                               .nested_comments = true,
                               .single_quote = Quote::kCharacter,
                               .triple_quotes = true,
                               .colon_lists = true,
                               .keywords = kWhereClause,
                               .continuation_words = kWhereWords};

constexpr SourceSyntax kSwift{.newline_ends_statements = true,
                              .slash_comments = true,
                              .nested_comments = true,
                              .triple_quotes = true,
                              .colon_lists = true,
                              .keywords = kWhereClause,
                              .continuation_words = kWhereWords};

constexpr SourceSyntax kScala{.newline_ends_statements = true,
                              .slash_comments = true,
                              .nested_comments = true,
                              .single_quote = Quote::kCharacter,
                              .triple_quotes = true,
                              .continuation_words = kScalaHeads};

constexpr SourceSyntax kDart{.slash_comments = true,
                             .nested_comments = true,
                             .single_quote = Quote::kString,
                             .triple_quotes = true,
                             .colon_lists = true};

constexpr SourceSyntax kZig{
    .slash_comments = true, .single_quote = Quote::kCharacter, .line_strings = true};

constexpr SourceSyntax kPhp{.slash_comments = true,
                            .hash_comments = true,
                            .single_quote = Quote::kString,
                            .backtick = Quote::kString,
                            .multiline_strings = true,
                            .heredoc = Heredoc::kPhp,
                            .php_tags = true};

constexpr SourceSyntax kPerl{.hash_comments = true,
                             .doc_block_open = "=",
                             .doc_block_close = "=cut",
                             .single_quote = Quote::kString,
                             .backtick = Quote::kString,
                             .multiline_strings = true,
                             .regex_literals = true,
                             .quote_operators = true,
                             .heredoc = Heredoc::kPerl,
                             .data_end = true};

constexpr SourceSyntax kShell{.newline_ends_statements = true,
                              .hash_comments = true,
                              .hash_at_word_start = true,
                              .single_quote = Quote::kRaw,
                              .backtick = Quote::kString,
                              .multiline_strings = true,
                              .heredoc = Heredoc::kShell};

constexpr SourceSyntax kR{.newline_ends_statements = true,
                          .hash_comments = true,
                          .single_quote = Quote::kString,
                          .backtick = Quote::kRaw,
                          .multiline_strings = true};

constexpr SourceSyntax kLua{.blocks = kKeywords,
                            .newline_ends_statements = true,
                            .dash_comments = true,
                            .single_quote = Quote::kString,
                            .long_brackets = true,
                            .keywords = kLuaKeywords};

constexpr SourceSyntax kRuby{.blocks = kKeywords,
                             .newline_ends_statements = true,
                             .hash_comments = true,
                             .doc_block_open = "=begin",
                             .doc_block_close = "=end",
                             .single_quote = Quote::kString,
                             .backtick = Quote::kString,
                             .multiline_strings = true,
                             .regex_literals = true,
                             .percent_literals = true,
                             .heredoc = Heredoc::kRuby,
                             .data_end = true,
                             .keywords = kRubyKeywords};

constexpr SourceSyntax kElixir{.blocks = kKeywords,
                               .newline_ends_statements = true,
                               .hash_comments = true,
                               .single_quote = Quote::kString,
                               .multiline_strings = true,
                               .triple_quotes = true,
                               .sigils = true,
                               .keywords = kElixirKeywords,
                               .continuation_words = kElixirGuards};

constexpr SourceSyntax kJulia{.blocks = kKeywords,
                              .newline_ends_statements = true,
                              .nested_comments = true,
                              .hash_comments = true,
                              .block_comment_open = "#=",
                              .block_comment_close = "=#",
                              .single_quote = Quote::kCharacter,
                              .backtick = Quote::kRaw,
                              .multiline_strings = true,
                              .triple_quotes = true,
                              .keywords_in_brackets = false,
                              .keywords = kJuliaKeywords};

constexpr SourceSyntax kErlang{.blocks = kStatements,
                               .percent_comments = true,
                               .single_quote = Quote::kString,
                               .multiline_strings = true,
                               .dollar_chars = true,
                               .keywords = kErlangKeywords};

constexpr SourceSyntax kClojure{.blocks = kParens,
                                .semicolon_comments = true,
                                .multiline_strings = true,
                                .backslash_chars = true};

constexpr SourceSyntax kPython{.blocks = kIndentation,
                               .hash_comments = true,
                               .single_quote = Quote::kString,
                               .triple_quotes = true};

constexpr SourceSyntax kHaskell{.blocks = kIndentation,
                                .nested_comments = true,
                                .dash_comments = true,
                                .block_comment_open = "{-",
                                .block_comment_close = "-}",
                                .single_quote = Quote::kCharacter};

constexpr SourceSyntax kOcaml{.blocks = kIndentation,
                              .nested_comments = true,
                              .block_comment_open = "(*",
                              .block_comment_close = "*)",
                              .single_quote = Quote::kCharacter,
                              .multiline_strings = true};

constexpr std::pair<std::string_view, const SourceSyntax*> kLanguages[] = {
    {"c", &kC},
    {"cpp", &kC},
    {"objective-c", &kObjectiveC},
    {"csharp", &kCsharp},
    {"java", &kJava},
    {"javascript", &kJavaScript},
    {"typescript", &kJavaScript},
    {"go", &kGo},
    {"rust", &kRust},
    {"kotlin", &kKotlin},
    {"swift", &kSwift},
    {"scala", &kScala},
    {"dart", &kDart},
    {"zig", &kZig},
    {"php", &kPhp},
    {"perl", &kPerl},
    {"shell", &kShell},
    {"r", &kR},
    {"lua", &kLua},
    {"ruby", &kRuby},
    {"elixir", &kElixir},
    {"julia", &kJulia},
    {"erlang", &kErlang},
    {"clojure", &kClojure},
    {"python", &kPython},
    {"haskell", &kHaskell},
    {"ocaml", &kOcaml},
};

}  // namespace

const SourceSyntax* syntax_for_language(std::string_view language) {
  for (const auto& [name, syntax] : kLanguages) {
    if (name == language) return syntax;
  }
  return nullptr;
}

}  // namespace lomarind::repository_changes
