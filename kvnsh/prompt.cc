#include "kvnsh/prompt.h"

#include <errno.h>
#include <histedit.h>
#include <stdlib.h>
#include <unistd.h>

#include "kvnsh/interrupt_counter.h"

namespace kvnsh {

Prompt::Prompt(const char* program, std::string prompt, std::string historyPath)
    : prompt_(std::move(prompt)), historyPath_(std::move(historyPath)) {
  if (!isatty(STDIN_FILENO) || !isatty(STDOUT_FILENO)) return;
  el_ = el_init(program, stdin, stdout, stderr);
  if (!el_) return;
  history_ = history_init();
  HistEvent ev;
  history(history_, &ev, H_SETSIZE, 1000);
  history(history_, &ev, H_SETUNIQUE, 1);
  if (!historyPath_.empty()) history(history_, &ev, H_LOAD, historyPath_.c_str());
  el_set(el_, EL_CLIENTDATA, this);
  el_set(el_, EL_PROMPT, &Prompt::promptText);
  el_set(el_, EL_EDITOR, "emacs");
  el_set(el_, EL_HIST, history, history_);
  el_set(el_, EL_ADDFN, "kvnsh-complete", "Complete the word", &Prompt::completeKey);
  el_set(el_, EL_BIND, "^I", "kvnsh-complete", nullptr);
  el_source(el_, nullptr);  // the operator's own ~/.editrc, if any
}

Prompt::~Prompt() {
  if (el_) el_end(el_);
  if (history_) history_end(history_);
  free(plainBuffer_);
}

const char* Prompt::promptText(editline* el) {
  Prompt* self = nullptr;
  el_get(el, EL_CLIENTDATA, &self);
  return self ? self->prompt_.c_str() : "> ";
}

unsigned char Prompt::completeKey(editline* el, int) {
  Prompt* self = nullptr;
  el_get(el, EL_CLIENTDATA, &self);
  if (!self || !self->complete_) return CC_ERROR;
  const LineInfo* li = el_line(el);
  std::string partial;
  const std::vector<std::string> found =
      self->complete_(std::string(li->buffer, li->cursor), &partial);
  if (found.empty()) return CC_ERROR;
  std::string common = found.front();
  for (const std::string& f : found) {
    size_t n = 0;
    while (n < common.size() && n < f.size() && common[n] == f[n]) ++n;
    common.resize(n);
  }
  if (found.size() == 1) common += ' ';
  if (common.size() > partial.size()) {
    el_insertstr(el, common.c_str() + partial.size());
    return CC_REFRESH;
  }
  fputc('\n', stdout);
  for (const std::string& f : found) fprintf(stdout, "%s  ", f.c_str());
  fputc('\n', stdout);
  return CC_REDISPLAY;
}

Prompt::Read Prompt::read(std::string* line) {
  const unsigned before = InterruptCounter::count();
  if (!el_) {
    errno = 0;
    const ssize_t n = getline(&plainBuffer_, &plainCapacity_, stdin);
    if (n < 0) {
      if (errno == EINTR && InterruptCounter::count() != before) {
        clearerr(stdin);
        return Read::kInterrupted;
      }
      return Read::kEnd;
    }
    line->assign(plainBuffer_, static_cast<size_t>(n));
  } else {
    int count = 0;
    const char* text = el_gets(el_, &count);
    if (!text || count <= 0) {
      if (InterruptCounter::count() != before) {
        el_reset(el_);
        fputc('\n', stdout);
        fflush(stdout);
        return Read::kInterrupted;
      }
      return Read::kEnd;
    }
    line->assign(text, static_cast<size_t>(count));
  }
  if (!line->empty() && line->back() == '\n') line->pop_back();
  return Read::kLine;
}

void Prompt::remember(const std::string& line) {
  if (!history_) return;
  HistEvent ev;
  history(history_, &ev, H_ENTER, line.c_str());
  if (!historyPath_.empty()) history(history_, &ev, H_SAVE, historyPath_.c_str());
}

}  // namespace kvnsh
