#pragma once

#include <unistd.h>

#include <utility>

namespace korvane {

/// A file descriptor that is closed at the end, or none.
class Descriptor {
  public:
    Descriptor() = default;
    explicit Descriptor(int value) : value_(value) {}
    Descriptor(Descriptor&& other) noexcept : value_(std::exchange(other.value_, -1)) {}
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(value_, other.value_);
        return *this;
    }
    ~Descriptor() {
        if (value_ >= 0) ::close(value_);
    }

    explicit operator bool() const { return value_ >= 0; }
    int get() const { return value_; }
    /// The caller closes it from now on.
    int release() { return std::exchange(value_, -1); }

  private:
    int value_ = -1;
};

}  // namespace korvane
