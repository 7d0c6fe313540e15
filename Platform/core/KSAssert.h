// Assertions for programming errors, and the platform's raised exceptions.
//
// KS_ASSERT fails with a line naming the source path, line and function, then aborts;
// it is checked in every build type. Without a message the condition's text is shown. KSRaise
// throws a KSException, the counterpart of the platform's raised exceptions (internal inconsistency
// and the like), for the few places the model raises on purpose.
#pragma once

#include <exception>
#include <string>
#include <string_view>

#include "Platform/core/KSFormat.h"

namespace kestrum {

extern const char* const KSInternalInconsistencyException;
extern const char* const KSInvalidArgumentException;
extern const char* const KSRangeException;

class KSException : public std::exception {
public:
    KSException(std::string name, std::string reason)
        : name_(std::move(name)), reason_(std::move(reason)) {
        what_ = name_ + ": " + reason_;
    }
    const std::string& name() const { return name_; }
    const std::string& reason() const { return reason_; }
    const char* what() const noexcept override { return what_.c_str(); }

private:
    std::string name_;
    std::string reason_;
    std::string what_;
};

// Logs "*** Assertion failure in <function>, <file>:<line>: <message>" and aborts.
[[noreturn]] void KSAssertionFailure(const char* file, int line, const char* function,
                                     const std::string& message);

// The message of a failed assertion: the formatted arguments, or the text of the condition
// when none are given.
inline std::string KSAssertionMessage(const char* condition) {
    return condition;
}
template <class... Args>
std::string KSAssertionMessage(const char*, std::string_view format, const Args&... args) {
    return KSStringWithFormat(format, args...);
}

template <class... Args>
[[noreturn]] void KSRaise(std::string name, std::string_view format, const Args&... args) {
    throw KSException(std::move(name), KSStringWithFormat(format, args...));
}

}  // namespace kestrum

// KS_ASSERT(condition) or KS_ASSERT(condition, format, args...): the message is formatted
// only when the condition fails.
#define KS_ASSERT(condition, ...)                                                      \
    do {                                                                               \
        if (!(condition)) {                                                            \
            ::kestrum::KSAssertionFailure(                                             \
                __FILE__, __LINE__, __func__,                                          \
                ::kestrum::KSAssertionMessage(#condition __VA_OPT__(, ) __VA_ARGS__)); \
        }                                                                              \
    } while (0)

// Fails unconditionally: KS_FAIL(format, args...).
#define KS_FAIL(...)                  \
    ::kestrum::KSAssertionFailure(    \
        __FILE__, __LINE__, __func__, \
        ::kestrum::KSAssertionMessage("failure" __VA_OPT__(, ) __VA_ARGS__))
