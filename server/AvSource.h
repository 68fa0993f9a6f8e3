#pragma once

#include <atomic>
#include <cstdint>
#include <memory>

#include "korvane/server/LibAv.h"

namespace korvane {

/// What libav reads an open file by, from its beginning and with a place of its own. Used by one thread.
class AvSource {
  public:
    /// `descriptor` and `cancel` must outlive the object.
    AvSource(int descriptor, const std::atomic<bool>* cancel);
    ~AvSource();
    AvSource(AvSource&& other) noexcept = default;
    AvSource& operator=(AvSource&&) = delete;

    /// Null when memory was short.
    AVIOContext* context() const { return context_.get(); }

  private:
    struct Place {
        int descriptor;
        const std::atomic<bool>* cancel;
        std::int64_t offset = 0;
    };
    struct ContextDeleter {
        void operator()(AVIOContext* context) const;
    };
    static int read(void* place, std::uint8_t* to, int size);
    static std::int64_t seek(void* place, std::int64_t offset, int whence);

    std::unique_ptr<Place> place_;
    std::unique_ptr<AVIOContext, ContextDeleter> context_;
};

}  // namespace korvane
