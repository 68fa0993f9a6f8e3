#include "korvane/film/worker/FilmJob.h"

#include <unistd.h>

#include <algorithm>
#include <memory>
#include <mutex>
#include <utility>

#include "korvane/film/worker/AvSource.h"
#include "korvane/film/worker/FileBytes.h"
#include "korvane/film/worker/FilmDecoder.h"
#include "korvane/film/worker/FilmRoom.h"
#include "korvane/film/worker/FrameConverter.h"
#include "korvane/film/worker/KeyFrame.h"
#include "korvane/film/worker/RemoteBytes.h"
#include "korvane/film/worker/Sandbox.h"
#include "korvane/film/worker/VideoAnalyzer.h"

namespace korvane {
namespace {

constexpr int mostThreads = 64;
constexpr double million = 1e6;
// A film is sought in small steps, so that its caller can think better of it between them.
constexpr int stepsAnOrder = 4;

std::unique_ptr<ByteSource> bytesOf(FilmChannel& channel, int file) {
    if (file >= 0) return std::make_unique<FileBytes>(file);
    return std::make_unique<RemoteBytes>(channel);
}

FilmWords failed(std::string_view reason) {
    return std::move(FilmWords(FilmMessage::Failed).number(0).text(reason));
}

class FilmJob {
  public:
    FilmJob(FilmChannel& channel, int room, int file)
        : channel_(channel), file_(file), source_(bytesOf(channel, file)), room_(room, channel), converter_(room_) {}

    FilmWords carryOut(FilmNews& order) {
        switch (order.type()) {
            case FilmMessage::Analyze:
                return analyze(static_cast<unsigned>(order.number(1, mostThreads)));
            case FilmMessage::PictureAt:
                return std::move(FilmWords(FilmMessage::Done).text(pictureIn(file_, order.number())));
            case FilmMessage::FirstFrame: {
                const auto width = static_cast<int>(order.number(0, 1 << 20));
                const auto height = static_cast<int>(order.number(0, 1 << 20));
                return firstKeyFrame(source_, {width, height}, converter_);
            }
            case FilmMessage::Open:
                return open(order.number() == 1);
            default:
                return film_ ? play(order) : failed("is not open");
        }
    }

  private:
    FilmWords analyze(unsigned threads) {
        const auto analysis = searchVideo(file_, threads, [this](double share) {
            channel_.send(FilmWords(FilmMessage::Progress).number(static_cast<std::int64_t>(share * million)));
        });
        if (!analysis) return failed(analysis.error().message);
        for (const VideoMotion& motion : analysis->motions)
            channel_.send(FilmWords(FilmMessage::Motion).number(motion.offset).text(motion.thumbnail));
        return std::move(FilmWords(FilmMessage::Done)
                             .number(analysis->duration)
                             .number(analysis->created.has_value())
                             .number(analysis->created.value_or(0))
                             .text(analysis->thumbnail));
    }

    FilmWords open(bool hasSound) {
        SoundDecoder::Sink sound;
        if (hasSound)
            sound = [this](TimeMs position, const std::vector<std::int16_t>& samples) {
                channel_.send(
                    FilmWords(FilmMessage::Sound)
                        .number(position)
                        .text({reinterpret_cast<const char*>(samples.data()), samples.size() * sizeof(samples[0])}));
            };
        film_ = std::make_unique<FilmDecoder>(source_, converter_, std::move(sound));
        if (film_->open()) return FilmWords(FilmMessage::Done);
        film_.reset();
        return failed("is no film that can be read");
    }

    FilmWords play(FilmNews& order) {
        switch (order.type()) {
            case FilmMessage::Seek:
                return std::move(FilmWords(FilmMessage::Done).number(film_->seek(order.number())));
            case FilmMessage::Approach:
                return approach(order.number());
            case FilmMessage::Step:
                return step();
            case FilmMessage::StepBack: {
                const bool isBack = film_->stepBack();
                return std::move(describePicture(FilmWords(FilmMessage::Done).number(isBack)));
            }
            case FilmMessage::Paint:
                return film_->paint();
            default:
                return failed("is given an order that there is not");
        }
    }

    FilmWords step() {
        auto made = FilmDecoder::Step::Nothing;
        for (int i = 0; i < stepsAnOrder && made == FilmDecoder::Step::Nothing; ++i) made = film_->step();
        if (made == FilmDecoder::Step::Failed) return failed("cannot be read on");
        return std::move(describePicture(FilmWords(FilmMessage::Done).number(static_cast<int>(made))));
    }

    FilmWords approach(TimeMs moment) {
        auto made = FilmDecoder::Step::Nothing;
        for (int i = 0; i < stepsAnOrder && made == FilmDecoder::Step::Nothing; ++i) made = film_->approach(moment);
        if (made == FilmDecoder::Step::Failed) return failed("cannot be read on");
        return std::move(FilmWords(FilmMessage::Done).number(static_cast<int>(made)).number(film_->foundEnd()));
    }

    FilmWords& describePicture(FilmWords& answer) const {
        return answer.number(film_->hasPicture()).number(film_->pictureBegin()).number(film_->pictureEnd());
    }

    FilmChannel& channel_;
    const int file_;
    AvSource source_;
    FilmRoom room_;
    FrameConverter converter_;
    std::unique_ptr<FilmDecoder> film_;
};

}  // namespace

void serveFilm(FilmChannel& channel, int room, int file, const HelperOrder& limits) {
    FilmJob job(channel, room, file);
    FilmChannel::State state = FilmChannel::State::Open;
    while (auto order = channel.receive(state)) {
        if (limits.isEachOrder != 0) grantTime(limits.seconds);
        if (!channel.send(job.carryOut(*order))) return;
    }
}

}  // namespace korvane
