#pragma once

#include <memory>
#include <utility>

namespace korvane {

/// Lets work that was posted for an object find out that the object is gone. The owner keeps the token as its last
/// member, so that it dies first; posted work is wrapped with guard(). Owner and guarded work run on one thread.
class LifeToken {
  public:
    /// `work` if the token still lives when the result is called, and nothing otherwise.
    template <typename Work>
    auto guard(Work work) const {
        return [watch = std::weak_ptr<const char>(token_), work = std::move(work)](auto&&... arguments) mutable {
            if (!watch.expired()) work(std::forward<decltype(arguments)>(arguments)...);
        };
    }

  private:
    std::shared_ptr<const char> token_ = std::make_shared<const char>('\0');
};

}  // namespace korvane
