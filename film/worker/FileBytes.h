#pragma once

#include "korvane/base/ByteSource.h"

namespace korvane {

/// The bytes of an open file, with a place of its own: several may read one descriptor.
class FileBytes final : public ByteSource {
  public:
    /// `descriptor` must outlive the object.
    explicit FileBytes(int descriptor) : descriptor_(descriptor) {}

    std::size_t read(std::span<std::uint8_t> into) override;
    void seek(std::int64_t position) override { position_ = position; }
    std::int64_t position() const override { return position_; }
    std::optional<std::int64_t> size() override;
    bool hasFailed() const override { return hasFailed_; }

  private:
    int descriptor_;
    std::int64_t position_ = 0;
    bool hasFailed_ = false;
};

}  // namespace korvane
