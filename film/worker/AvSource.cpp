#include "korvane/film/worker/AvSource.h"

#include <cstdio>
#include <utility>

namespace korvane {
namespace {

constexpr int bufferBytes = 32 * 1024;

}  // namespace

void AvSource::ContextDeleter::operator()(AVIOContext* context) const {
    av_freep(&context->buffer);
    avio_context_free(&context);
}

AvSource::AvSource(std::unique_ptr<ByteSource> bytes) : bytes_(std::move(bytes)) {
    auto* buffer = static_cast<unsigned char*>(av_malloc(bufferBytes));
    if (buffer == nullptr) return;
    context_.reset(avio_alloc_context(buffer, bufferBytes, 0, bytes_.get(), read, nullptr, seek));
    if (!context_) av_free(buffer);
}

int AvSource::read(void* bytes, std::uint8_t* to, int size) {
    auto& source = *static_cast<ByteSource*>(bytes);
    if (size <= 0) return AVERROR(EINVAL);
    const std::size_t count = source.read({to, static_cast<std::size_t>(size)});
    if (count > 0) return static_cast<int>(count);
    return source.hasFailed() ? AVERROR_EXIT : AVERROR_EOF;
}

std::int64_t AvSource::seek(void* bytes, std::int64_t offset, int whence) {
    auto& source = *static_cast<ByteSource*>(bytes);
    const auto sizeOr = [&](std::int64_t fallback) { return source.size().value_or(fallback); };
    if ((whence & AVSEEK_SIZE) != 0) return sizeOr(AVERROR(ENOSYS));
    std::int64_t base = 0;
    if ((whence & ~AVSEEK_FORCE) == SEEK_CUR) base = source.position();
    if ((whence & ~AVSEEK_FORCE) == SEEK_END) base = sizeOr(-1);
    if (base < 0 || offset < -base || offset > INT64_MAX - base) return AVERROR(EINVAL);
    source.seek(base + offset);
    return source.position();
}

}  // namespace korvane
