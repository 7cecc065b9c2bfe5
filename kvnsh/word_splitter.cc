#include "kvnsh/word_splitter.h"

namespace kvnsh {
namespace {

bool isBlank(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

WordSplitter::Result fail(std::string text) {
  WordSplitter::Result r;
  r.error = std::move(text);
  return r;
}

}  // namespace

WordSplitter::Result WordSplitter::split(std::string_view line) {
  Result out;
  std::string word;
  bool inWord = false;  // a word has begun, even if it is still empty ('' is a word)
  size_t i = 0;
  const size_t n = line.size();
  auto endWord = [&] {
    if (inWord) out.words.push_back(std::move(word));
    word.clear();
    inWord = false;
  };
  while (i < n) {
    const char c = line[i];
    if (isBlank(c)) {
      endWord();
      ++i;
    } else if (c == '#' && !inWord) {
      break;
    } else if (c == '\'') {
      const size_t close = line.find('\'', i + 1);
      if (close == std::string_view::npos)
        return fail("unterminated single quote (opened at column " + std::to_string(i + 1) + ")");
      word.append(line.substr(i + 1, close - i - 1));
      inWord = true;
      i = close + 1;
    } else if (c == '"') {
      const size_t open = i++;
      inWord = true;
      for (;;) {
        if (i >= n)
          return fail("unterminated double quote (opened at column " + std::to_string(open + 1) +
                      ")");
        const char d = line[i];
        if (d == '"') {
          ++i;
          break;
        }
        if (d == '\\' && i + 1 < n) {
          const char e = line[i + 1];
          if (e == '\n') {
            i += 2;
            continue;
          }
          if (e == '$' || e == '`' || e == '"' || e == '\\') {
            word.push_back(e);
            i += 2;
            continue;
          }
        }
        word.push_back(d);
        ++i;
      }
    } else if (c == '\\') {
      if (i + 1 >= n) return fail("the line ends in a backslash");
      if (line[i + 1] != '\n') {
        word.push_back(line[i + 1]);
        inWord = true;
      }
      i += 2;
    } else {
      word.push_back(c);
      inWord = true;
      ++i;
    }
  }
  endWord();
  out.ok = true;
  return out;
}

}  // namespace kvnsh
