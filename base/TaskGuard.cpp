#include "korvane/base/TaskGuard.h"

#include <cxxabi.h>
#include <pthread.h>

#include <cstdio>
#include <cstdlib>
#include <exception>
#include <memory>
#include <string>
#include <typeinfo>

#include "korvane/base/Log.h"

namespace korvane::detail {
namespace {

// The type alone: the text of a parser's or a client's exception may quote a token.
std::string describe(const std::exception& error) {
    const char* mangled = typeid(error).name();
    const std::unique_ptr<char, decltype(&std::free)> name(abi::__cxa_demangle(mangled, nullptr, nullptr, nullptr),
                                                           &std::free);
    return std::string("task ended by ") + (name ? name.get() : mangled);
}

}  // namespace

void runGuarded(std::function<void()> task, std::string_view place) noexcept {
    try {
        if (task) task();
        task = nullptr;
    } catch (...) {
        logException(place);
    }
}

void logException(std::string_view place) noexcept {
    try {
        try {
            throw;
        } catch (const std::exception& error) {
            logError(place, describe(error));
        } catch (...) {
            logError(place, "task ended by an exception of unknown type");
        }
    } catch (...) {
        // Where memory has run out there may be none for a line either.
        std::fputs("korvane: a task was ended, and there is no memory to say which\n", stderr);
    }
}

void nameThisThread(std::string_view name) noexcept {
    constexpr std::size_t longest = 15;
    char cut[longest + 1] = {};
    name.copy(cut, longest);
    pthread_setname_np(pthread_self(), cut);
}

}  // namespace korvane::detail
