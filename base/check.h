#pragma once
// Asserts that stay on in every build: a peer that breaks its protocol, or a record that
// contradicts itself, stops the process with the condition, file and line.

extern "C" void __assert_fail(const char* assertion, const char* file, unsigned int line,
                              const char* function) noexcept __attribute__((__noreturn__));

#define KVNTRACE_ASSERT_TEXT(cond, text) \
  ((cond) ? static_cast<void>(0) : __assert_fail(text, __FILE__, __LINE__, __PRETTY_FUNCTION__))
#define KVNTRACE_ASSERT(cond) KVNTRACE_ASSERT_TEXT(cond, #cond)
