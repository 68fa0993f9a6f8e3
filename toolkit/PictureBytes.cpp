#include "korvane/toolkit/PictureBytes.h"

#include <algorithm>
#include <cstring>
#include <ctime>
#include <utility>

namespace korvane {
namespace {

std::chrono::microseconds spentByThread() {
    timespec spent{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &spent);
    return std::chrono::seconds(spent.tv_sec) +
           std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::nanoseconds(spent.tv_nsec));
}

}  // namespace

PictureBytes::PictureBytes(QByteArray bytes, std::chrono::microseconds processorTime)
    : bytes_(std::move(bytes)), until_(spentByThread() + processorTime) {
    open(QIODevice::ReadOnly | QIODevice::Unbuffered);
}

bool PictureBytes::seek(qint64 position) {
    if (position < 0 || position > size() || !QIODevice::seek(position)) return false;
    position_ = position;
    return true;
}

qint64 PictureBytes::readData(char* data, qint64 most) {
    if (spentByThread() >= until_) isSpent_ = true;
    if (isSpent_) return -1;
    const qint64 count = std::min(most, size() - position_);
    std::memcpy(data, bytes_.constData() + position_, static_cast<std::size_t>(count));
    position_ += count;
    return count;
}

}  // namespace korvane
