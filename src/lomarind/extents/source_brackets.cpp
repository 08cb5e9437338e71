#include "lomarind/extents/source_brackets.h"

#include <algorithm>

namespace lomarind::repository_changes {
namespace {

// A stray `)` in a shell `case` or a misread regular expression must not
// close a whole file's worth of blocks.
constexpr std::size_t kRecoveryDepth = 4;

TokenKind opener_of(TokenKind closer) {
  switch (closer) {
    case TokenKind::kCloseParen:
      return TokenKind::kOpenParen;
    case TokenKind::kCloseBracket:
      return TokenKind::kOpenBracket;
    case TokenKind::kCloseBrace:
      return TokenKind::kOpenBrace;
    default:
      return TokenKind::kOpenBlock;
  }
}

bool round_or_square(TokenKind kind) {
  return kind == TokenKind::kOpenParen || kind == TokenKind::kOpenBracket;
}

}  // namespace

void BracketPairs::emit(TokenKind kind, std::uint32_t offset, std::uint32_t line) {
  if (inactive_ > 0) return;
  tokens_.push_back({offset, line, kNoPartner, kind});
}

void BracketPairs::open(TokenKind kind, std::uint32_t offset, std::uint32_t line) {
  if (inactive_ > 0) return;
  emit(kind, offset, line);
  open_.push_back(static_cast<std::int32_t>(tokens_.size() - 1));
  if (round_or_square(kind)) ++round_or_square_;
}

void BracketPairs::close(TokenKind kind, std::uint32_t offset, std::uint32_t line) {
  if (inactive_ > 0) return;
  emit(kind, offset, line);
  const auto closer = static_cast<std::int32_t>(tokens_.size() - 1);
  const TokenKind wanted = opener_of(kind);
  for (std::size_t depth = 0; depth < kRecoveryDepth && depth < open_.size(); ++depth) {
    const std::size_t first = open_.size() - 1 - depth;
    if (tokens_[open_[first]].kind != wanted) continue;
    for (std::size_t k = first; k < open_.size(); ++k) {
      Token& opener = tokens_[open_[k]];
      if (static_cast<std::size_t>(open_[k]) >= shared_tokens_) opener.partner = closer;
      if (round_or_square(opener.kind)) --round_or_square_;
    }
    tokens_[closer].partner = open_[first];
    open_.resize(first);
    return;
  }
}

void BracketPairs::begin_if(bool zero) {
  Conditional level;
  level.not_yet = zero;
  level.at_if = open_;
  level.first_branch_tokens = tokens_.size();
  inactive_ += zero ? 1 : 0;
  conditionals_.push_back(std::move(level));
}

void BracketPairs::begin_else() {
  if (conditionals_.empty()) return;
  Conditional& level = conditionals_.back();
  if (level.not_yet) {  // after #if 0, the first branch that counts
    level.not_yet = false;
    --inactive_;
    level.at_if = open_;
    level.first_branch_tokens = tokens_.size();
    return;
  }
  if (level.alternative) {
    end_alternative(level);
  } else {
    level.after_first = open_;
  }
  begin_alternative(level);
}

void BracketPairs::end_if() {
  if (conditionals_.empty()) return;
  Conditional& level = conditionals_.back();
  inactive_ -= level.not_yet ? 1 : 0;
  if (level.alternative) {
    end_alternative(level);
    set_open(std::move(level.after_first));
  }
  conditionals_.pop_back();
}

void BracketPairs::begin_alternative(Conditional& level) {
  level.alternative = true;
  level.branch_tokens = tokens_.size();
  level.outer_shared_tokens = shared_tokens_;
  shared_tokens_ = tokens_.size();
  set_open(level.at_if);
}

void BracketPairs::end_alternative(Conditional& level) {
  const auto opened_since = [](const std::vector<std::int32_t>& open, std::size_t since) {
    std::vector<std::int32_t> opened;
    for (const std::int32_t index : open) {
      if (static_cast<std::size_t>(index) >= since) opened.push_back(index);
    }
    return opened;
  };
  const std::vector<std::int32_t> left = opened_since(open_, level.branch_tokens);
  const std::vector<std::int32_t> first =
      opened_since(level.after_first, level.first_branch_tokens);
  if (left.size() == first.size()) {
    for (std::size_t i = 0; i < left.size(); ++i) twins_.emplace_back(left[i], first[i]);
  }
  shared_tokens_ = level.outer_shared_tokens;
}

void BracketPairs::set_open(std::vector<std::int32_t> open) {
  open_ = std::move(open);
  round_or_square_ =
      static_cast<int>(std::count_if(open_.begin(), open_.end(), [&](std::int32_t i) {
        return round_or_square(tokens_[i].kind);
      }));
}

std::vector<Token> BracketPairs::finish() && {
  // Outer conditionals end last, and their twins may be the first
  // branches' openers of inner ones: resolved first.
  for (auto twin = twins_.rbegin(); twin != twins_.rend(); ++twin) {
    tokens_[twin->first].partner = tokens_[twin->second].partner;
  }
  return std::move(tokens_);
}

}  // namespace lomarind::repository_changes
