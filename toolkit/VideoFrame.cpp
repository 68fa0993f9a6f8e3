#include "korvane/toolkit/VideoFrame.h"

#include <QTransform>
#include <string>

#include "korvane/base/Log.h"
#include "korvane/film/FilmPicture.h"
#include "korvane/toolkit/FrameGrabber.h"

namespace korvane {

namespace {

int resultOf(const FilmFailure& failure) {
    switch (failure.kind) {
        case FilmFailure::Kind::Unreadable:
            return FrameGrabber::noFrame;
        case FilmFailure::Kind::BeyondLimits:
            return FrameGrabber::beyondLimits;
        case FilmFailure::Kind::Unavailable:
            return FrameGrabber::noHelper;
        case FilmFailure::Kind::Cancelled:
            return FrameGrabber::timedOut;
    }
    return FrameGrabber::noFrame;
}

}  // namespace

VideoFrame firstKeyFrame(FilmHelper& helper, int file, ByteSource* bytes, QSize bound,
                         const std::function<bool()>& isOver) {
    std::string reason;
    const auto task = helper.begin(file, FilmLimits(), reason);
    if (!task) {
        logError("FrameGrabber", reason);
        return {FrameGrabber::noHelper, {}};
    }
    task->setSource(bytes);
    auto answer =
        task->ask(FilmWords(FilmMessage::FirstFrame).number(bound.width()).number(bound.height()), {}, isOver);
    if (!answer) {
        const FilmFailure& failure = task->failure();
        if (failure.kind == FilmFailure::Kind::BeyondLimits) logError("FrameGrabber", "a film " + failure.reason);
        return {resultOf(failure), {}};
    }
    QImage image = toImage(*answer, *task);
    // It was to be scaled down until one of its sides fits.
    if (!bound.isEmpty() && image.width() > bound.width() && image.height() > bound.height()) image = {};
    return {image.isNull() ? FrameGrabber::noFrame : FrameGrabber::success, image};
}

QImage toImage(FilmNews& answer, const FilmTask& task) {
    const auto picture = readPicture(answer, task);
    if (!picture) return {};
    const QImage shared(picture->points, picture->width, picture->height, picture->stride, QImage::Format_RGB32);
    return picture->degrees == 0 ? shared.copy() : shared.transformed(QTransform().rotate(picture->degrees)).copy();
}

}  // namespace korvane
