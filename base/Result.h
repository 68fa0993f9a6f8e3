#pragma once

#include <optional>
#include <string>
#include <utility>
#include <variant>

namespace korvane {

/// Why an operation failed, in words for a person.
struct Error {
    std::string message;
    /// The same may succeed in a while.
    bool isBusy = false;
};

/// A value, or the reason why there is none.
template <typename T>
class [[nodiscard]] Result {
  public:
    Result(T value) : state_(std::move(value)) {}
    Result(Error error) : state_(std::move(error)) {}

    explicit operator bool() const { return std::holds_alternative<T>(state_); }

    /// Precondition of these four: the result holds a value.
    T& operator*() { return *std::get_if<T>(&state_); }
    const T& operator*() const { return *std::get_if<T>(&state_); }
    T* operator->() { return std::get_if<T>(&state_); }
    const T* operator->() const { return std::get_if<T>(&state_); }

    /// Precondition: the result holds no value.
    const Error& error() const { return *std::get_if<Error>(&state_); }

  private:
    std::variant<T, Error> state_;
};

/// Nothing when all went well.
using Failure = std::optional<Error>;

}  // namespace korvane
