#include "korvane/server/AvSource.h"

#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstdio>

namespace korvane {
namespace {

constexpr int bufferBytes = 32 * 1024;

}  // namespace

void AvSource::ContextDeleter::operator()(AVIOContext* context) const {
    av_freep(&context->buffer);
    avio_context_free(&context);
}

AvSource::AvSource(int descriptor, const std::atomic<bool>* cancel)
    : place_(std::make_unique<Place>(Place{descriptor, cancel, 0})) {
    auto* buffer = static_cast<unsigned char*>(av_malloc(bufferBytes));
    if (buffer == nullptr) return;
    context_.reset(avio_alloc_context(buffer, bufferBytes, 0, place_.get(), read, nullptr, seek));
    if (!context_) av_free(buffer);
}

AvSource::~AvSource() = default;

int AvSource::read(void* of, std::uint8_t* to, int size) {
    auto& place = *static_cast<Place*>(of);
    if (place.cancel != nullptr && place.cancel->load()) return AVERROR_EXIT;
    const ssize_t count = ::pread(place.descriptor, to, static_cast<std::size_t>(size), place.offset);
    if (count < 0) return AVERROR(errno);
    if (count == 0) return AVERROR_EOF;
    place.offset += count;
    return static_cast<int>(count);
}

std::int64_t AvSource::seek(void* of, std::int64_t offset, int whence) {
    auto& place = *static_cast<Place*>(of);
    struct stat info {};
    if (::fstat(place.descriptor, &info) != 0) return AVERROR(errno);
    if (whence == AVSEEK_SIZE) return info.st_size;
    const int from = whence & ~AVSEEK_FORCE;
    const std::int64_t base = from == SEEK_SET ? 0 : from == SEEK_CUR ? place.offset : info.st_size;
    if (offset < -base) return AVERROR(EINVAL);
    return place.offset = base + offset;
}

}  // namespace korvane
