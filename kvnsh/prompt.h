#pragma once
// The interactive prompt: line editing and history on a terminal, plain line reading when the
// input is a pipe or file (no prompt is shown then). History is kept in a file across runs.

#include <stdio.h>

#include <functional>
#include <string>
#include <vector>

struct editline;
struct history;

namespace kvnsh {

class Prompt {
 public:
  enum class Read { kLine, kInterrupted, kEnd };

  // `historyPath` empty: no history file.
  Prompt(const char* program, std::string prompt, std::string historyPath);
  ~Prompt();
  Prompt(const Prompt&) = delete;
  Prompt& operator=(const Prompt&) = delete;

  // One line, without its newline.
  Read read(std::string* line);
  // Adds a line to the history and saves the history.
  void remember(const std::string& line);
  bool interactive() const { return el_ != nullptr; }

  // Tab: given the line up to the cursor, the candidates for the word being typed, which it
  // puts in `partial`.
  using Complete =
      std::function<std::vector<std::string>(const std::string& line, std::string* partial)>;
  void setCompletion(Complete complete) { complete_ = std::move(complete); }

 private:
  static const char* promptText(editline* el);
  static unsigned char completeKey(editline* el, int key);

  std::string prompt_;
  std::string historyPath_;
  Complete complete_;
  editline* el_ = nullptr;
  history* history_ = nullptr;
  char* plainBuffer_ = nullptr;
  size_t plainCapacity_ = 0;
};

}  // namespace kvnsh
