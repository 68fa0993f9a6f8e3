#pragma once

#include "korvane/base/ByteSource.h"
#include "korvane/film/FilmChannel.h"

namespace korvane {

/// The bytes of a film that the caller hands out. A caller that has gone ends the process.
class RemoteBytes final : public ByteSource {
  public:
    /// `channel` outlives the object.
    explicit RemoteBytes(FilmChannel& channel) : channel_(channel) {}

    std::size_t read(std::span<std::uint8_t> into) override;
    void seek(std::int64_t position) override { position_ = position; }
    std::int64_t position() const override { return position_; }
    std::optional<std::int64_t> size() override;
    bool hasFailed() const override { return hasFailed_; }

  private:
    FilmChannel& channel_;
    std::int64_t position_ = 0;
    bool hasFailed_ = false;
};

}  // namespace korvane
