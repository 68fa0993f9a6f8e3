#pragma once

#include <QByteArray>
#include <QIODevice>
#include <chrono>

namespace korvane {

/// Hands a picture's bytes to a decoder, and no more of them once its thread has spent the processor time that the
/// picture may take. Used by one thread.
class PictureBytes final : public QIODevice {
  public:
    /// The time begins to count now.
    PictureBytes(QByteArray bytes, std::chrono::microseconds processorTime);

    /// The decoder has been refused bytes: what it gives is no picture.
    bool isSpent() const { return isSpent_; }

    qint64 size() const override { return bytes_.size(); }
    bool seek(qint64 position) override;

  protected:
    qint64 readData(char* data, qint64 most) override;
    qint64 writeData(const char*, qint64) override { return -1; }

  private:
    const QByteArray bytes_;
    const std::chrono::microseconds until_;
    qint64 position_ = 0;
    bool isSpent_ = false;
};

}  // namespace korvane
