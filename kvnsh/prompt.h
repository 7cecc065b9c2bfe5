#pragma once
// The interactive prompt: line editing and history on a terminal, plain line reading when the
// input is a pipe or file (no prompt is shown then). History is kept in a file across runs.

#include <stdio.h>

#include <string>

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

 private:
  static const char* promptText(editline* el);

  std::string prompt_;
  std::string historyPath_;
  editline* el_ = nullptr;
  history* history_ = nullptr;
  char* plainBuffer_ = nullptr;
  size_t plainCapacity_ = 0;
};

}  // namespace kvnsh
