#pragma once

#include <memory>

#include "korvane/base/ByteSource.h"
#include "korvane/film/worker/LibAv.h"

namespace korvane {

/// What libav reads bytes by. Used by one thread.
class AvSource {
  public:
    explicit AvSource(std::unique_ptr<ByteSource> bytes);

    /// Null when memory was short.
    AVIOContext* context() const { return context_.get(); }
    ByteSource& bytes() const { return *bytes_; }

  private:
    struct ContextDeleter {
        void operator()(AVIOContext* context) const;
    };
    static int read(void* bytes, std::uint8_t* to, int size);
    static std::int64_t seek(void* bytes, std::int64_t offset, int whence);

    std::unique_ptr<ByteSource> bytes_;
    std::unique_ptr<AVIOContext, ContextDeleter> context_;
};

}  // namespace korvane
