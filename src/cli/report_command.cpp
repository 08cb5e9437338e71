#include <filesystem>
#include <optional>
#include <stdexcept>

#include "cli/display_text.h"
#include "cli/report.h"
#include "cli/whole_file.h"

namespace lomarind::cli {

namespace {

std::optional<ReportFormat> format_of_name(const std::filesystem::path& output) {
  const std::string extension = output.extension().string();
  if (extension == ".md" || extension == ".markdown") return ReportFormat::kMarkdown;
  if (extension == ".html" || extension == ".htm") return ReportFormat::kHtml;
  return std::nullopt;
}

}  // namespace

ReportFormat report_format(const ReportArgs& args) {
  std::optional<ReportFormat> named;
  if (args.output && *args.output != "-") named = format_of_name(*args.output);
  if (!args.format) return named.value_or(ReportFormat::kHtml);
  const ReportFormat asked =
      *args.format == "markdown" ? ReportFormat::kMarkdown : ReportFormat::kHtml;
  if (named.value_or(asked) != asked) {
    throw std::runtime_error("--output " + quoted_text(*args.output) + " is named as " +
                             (*named == ReportFormat::kHtml ? "an HTML page" : "a Markdown file") +
                             " but --format is " + *args.format + "; name the file ." +
                             (asked == ReportFormat::kHtml ? "html" : "md") +
                             " or leave --format out");
  }
  return asked;
}

int run_report(const HistorySession& session, const ReportArgs& args, ReportFormat format,
               bool index_used, const Terminal& terminal) {
  const bool html = format == ReportFormat::kHtml;
  const std::filesystem::path output =
      args.output.value_or(html ? "lomarind-report.html" : "lomarind-report.md");
  if (output.empty()) throw std::runtime_error("--output is empty; pass the file to write");
  // Every answer is asked and the whole report rendered before anything is
  // written: a question that cannot be answered leaves no file behind.
  const ReportContent content = gather_report(session, args, index_used, terminal.render.now);
  const std::string text = html ? report_html(content) : report_markdown(content);
  if (output == "-") {
    terminal.out << text << std::flush;
    return kExitOk;
  }
  write_whole_file(output, text);
  terminal.out << terminal_text(std::filesystem::absolute(output).lexically_normal().string())
               << '\n'
               << std::flush;
  return kExitOk;
}

}  // namespace lomarind::cli
