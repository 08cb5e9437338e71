// The lexer's tokens, each bracket paired with its partner as they come,
// across the branches of preprocessor conditionals. Internal to the lexer.
#pragma once

#include <cstddef>
#include <cstdint>
#include <utility>
#include <vector>

#include "lomarind/extents/source_lexer.h"

namespace lomarind::repository_changes {

class BracketPairs {
 public:
  std::size_t size() const { return tokens_.size(); }
  std::size_t open_count() const { return open_.size(); }
  bool in_round_or_square() const { return round_or_square_ > 0; }

  // Tokens on `line` at `offset`; none inside an #if 0 branch.
  void emit(TokenKind kind, std::uint32_t offset, std::uint32_t line);
  void open(TokenKind kind, std::uint32_t offset, std::uint32_t line);
  // Pairs with the innermost opener of its kind if it is at most a few
  // deep (taking the openers inside with it); else pairs with none, so
  // that misread text disturbs only its own block.
  void close(TokenKind kind, std::uint32_t offset, std::uint32_t line);

  // Preprocessor conditionals: only the first branch that counts pairs
  // with the text around it; each other branch is read from the brackets
  // open at the #if, and what it leaves open is tied to what the first
  // branch left open (two heads for one body). An #if 0 branch is skipped.
  void begin_if(bool zero);
  void begin_else();
  void end_if();

  // The tokens, partners given to what alternative branches left open.
  std::vector<Token> finish() &&;

 private:
  struct Conditional {
    bool not_yet = false;                   // #if 0: no branch counted yet
    bool alternative = false;               // in an #elif or #else branch
    std::vector<std::int32_t> at_if;        // open_ at the #if
    std::vector<std::int32_t> after_first;  // open_ after the first branch
    std::size_t branch_tokens = 0;          // tokens before the branch began
    std::size_t first_branch_tokens = 0;
    std::size_t outer_shared_tokens = 0;  // shared_tokens_ outside the branch
  };

  void begin_alternative(Conditional& level);
  void end_alternative(Conditional& level);
  void set_open(std::vector<std::int32_t> open);

  std::vector<Token> tokens_;
  std::vector<std::int32_t> open_;  // unclosed openers, innermost last
  int round_or_square_ = 0;         // of them, ( and [
  std::vector<Conditional> conditionals_;
  int inactive_ = 0;  // #if 0 branches being read
  // While an alternative branch is read, openers before this index keep
  // the partner the first branch gives them.
  std::size_t shared_tokens_ = 0;
  // An opener an alternative branch left open, and the first branch's
  // opener whose partner it takes.
  std::vector<std::pair<std::int32_t, std::int32_t>> twins_;
};

}  // namespace lomarind::repository_changes
