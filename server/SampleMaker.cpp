#include "korvane/server/SampleMaker.h"

#include <algorithm>
#include <fstream>
#include <mutex>
#include <nlohmann/json.hpp>
#include <string>
#include <thread>
#include <vector>

#include "korvane/base/UtcTime.h"
#include "korvane/server/LocalDays.h"
#include "korvane/server/VideoWriter.h"
#include "korvane/server/sample/Daylight.h"
#include "korvane/server/sample/Movement.h"
#include "korvane/server/sample/SamplePlan.h"
#include "korvane/server/sample/Yard.h"

namespace korvane {
namespace {

namespace fs = std::filesystem;

constexpr int framesPerSecond = 8;
constexpr int clockTop = 10;
constexpr int clockBottom = 34;
// How often the sky is painted anew, in frames.
constexpr int repaintEvery = 30 * framesPerSecond;

/// "frontyard_20261118_070500.mp4", in UTC.
std::string fileName(TimeMs start) {
    std::string text = formatUtc(start).substr(0, 19);
    std::erase_if(text, [](char c) { return c == '-' || c == ':'; });
    std::replace(text.begin(), text.end(), 'T', '_');
    return "frontyard_" + text + ".mp4";
}

/// Films one recording.
class Film {
  public:
    Film(const PlannedRecording& plan, const std::atomic<bool>* cancel)
        : plan_(plan),
          cancel_(cancel),
          calendar_(SamplePlan::yardTimezone),
          yard_(filmWidth, filmHeight),
          picture_(yard_) {}

    Failure shoot(const fs::path& file) {
        VideoFormat format;
        format.width = filmWidth;
        format.height = filmHeight;
        format.framesPerSecond = framesPerSecond;
        format.keyFrameEvery = 2 * framesPerSecond;
        format.created = plan_.start;
        auto writer = VideoWriter::create(file, format);
        if (!writer) return writer.error();
        const auto frames = static_cast<int>(plan_.duration * framesPerSecond / 1000);
        for (int frame = 0; frame < frames; ++frame) {
            if (cancel_ != nullptr && cancel_->load()) return Error{"cancelled"};
            const Failure failure = draw(frame) ? (*writer)->add(rgb_) : (*writer)->repeat();
            if (failure) return failure;
        }
        return (*writer)->finish();
    }

  private:
    /// False when the picture is as it was.
    bool draw(int frame) {
        const bool repaint = frame % repaintEvery == 0;
        const TimeMs now = plan_.start + frame * 1000 / framesPerSecond;
        const TimeMs local = now + calendar_.offsetAt(now);
        const float time = static_cast<float>(frame) / framesPerSecond;
        if (repaint) {
            light_ = Daylight::at(static_cast<float>(local % 86'400'000) / 3'600'000.0F);
            drawYard(yard_, light_);
            refresh(0, filmHeight);
        }
        const bool moves =
            std::any_of(plan_.movements.begin(), plan_.movements.end(),
                        [time](const Movement& movement) { return time >= movement.start && time < movement.end(); });
        const bool ticks = repaint || frame % framesPerSecond == 0;
        const bool changes = moves || moved_;
        if (changes) {
            picture_.copyRows(yard_, movementTop, filmHeight);
            for (const Movement& movement : plan_.movements) drawMovement(picture_, movement, time, light_);
            picture_.writeRows(rgb_, movementTop, filmHeight);
        }
        if (ticks) clock(local);
        moved_ = moves;
        return ticks || changes;
    }

    void refresh(int first, int end) {
        picture_.copyRows(yard_, first, end);
        picture_.writeRows(rgb_, first, end);
    }

    void clock(TimeMs local) {
        std::string text = formatUtc(local).substr(0, 19);
        std::replace(text.begin(), text.end(), 'T', ' ');
        picture_.copyRows(yard_, clockTop - 2, clockBottom);
        picture_.text({13, clockTop + 2.0F}, text.c_str(), 2, {0, 0, 0}, 0.55F);
        picture_.text({12, clockTop + 1.0F}, text.c_str(), 2, {1, 1, 1}, 0.92F);
        picture_.writeRows(rgb_, clockTop - 2, clockBottom);
    }

    const PlannedRecording& plan_;
    const std::atomic<bool>* cancel_;
    LocalDays calendar_;
    Picture yard_;
    Picture picture_;
    Daylight light_;
    std::vector<std::uint8_t> rgb_;
    bool moved_ = false;
};

/// Shares the recordings out to threads.
class Studio {
  public:
    Studio(const fs::path& folder, const SamplePlan& plan, const SampleOptions& options)
        : folder_(folder), plan_(plan), options_(options) {}

    Failure run() {
        const unsigned wanted =
            options_.threads > 0 ? options_.threads : std::max(1U, std::thread::hardware_concurrency());
        std::vector<std::thread> threads;
        for (unsigned i = 1; i < wanted; ++i) threads.emplace_back([this] { work(); });
        work();
        for (std::thread& thread : threads) thread.join();
        return failure_;
    }

  private:
    void work() {
        for (std::size_t i = next_++; i < plan_.recordings.size(); i = next_++) {
            const PlannedRecording& recording = plan_.recordings[i];
            const fs::path file = folder_ / fileName(recording.start);
            const Failure failure = Film(recording, options_.cancel).shoot(file);
            const std::lock_guard lock(mutex_);
            if (failure) {
                std::error_code ignored;
                fs::remove(file, ignored);
                failure_ = failure;
                next_ = plan_.recordings.size();
                return;
            }
            ++done_;
            if (options_.onProgress) options_.onProgress(done_, plan_.recordings.size());
        }
    }

    const fs::path& folder_;
    const SamplePlan& plan_;
    const SampleOptions& options_;
    std::atomic<std::size_t> next_ = 0;
    std::mutex mutex_;
    std::size_t done_ = 0;
    Failure failure_;
};

Failure writeJson(const fs::path& file, const nlohmann::ordered_json& json) {
    std::ofstream stream(file);
    stream << json.dump(2) << '\n';
    stream.close();
    return stream ? std::nullopt : Failure(Error{"cannot write " + file.string()});
}

}  // namespace

Result<SampleReport> makeSample(const fs::path& folder, const SampleOptions& options) {
    try {
        std::error_code code;
        fs::create_directories(folder, code);
        if (code) return Error{"cannot make folder " + folder.string() + ": " + code.message()};
        SamplePlan plan = SamplePlan::make(options.seed, options.end);
        if (options.maxRecordings > 0 && plan.recordings.size() > options.maxRecordings)
            plan.recordings.erase(plan.recordings.begin(),
                                  plan.recordings.end() - static_cast<std::ptrdiff_t>(options.maxRecordings));
        if (const Failure failure = Studio(folder, plan, options).run()) return *failure;
        nlohmann::ordered_json events = nlohmann::ordered_json::array();
        for (const TimeMs time : plan.doorbells) events.push_back({{"time", formatUtc(time)}, {"name", "doorbell"}});
        if (const Failure failure = writeJson(folder / "events.json", events)) return *failure;
        if (const Failure failure =
                writeJson(folder / "camera.json", {{"name", "Front yard"}, {"timezone", SamplePlan::yardTimezone}}))
            return *failure;
        SampleReport report;
        report.recordings = plan.recordings.size();
        for (const PlannedRecording& recording : plan.recordings) {
            report.movements += recording.movements.size();
            report.bytes += fs::file_size(folder / fileName(recording.start), code);
        }
        return report;
    } catch (const std::exception& error) {
        return Error{std::string("the sample cannot be made: ") + error.what()};
    }
}

Failure addSampleEvents(Storage& storage, std::int64_t camera, std::int64_t count, TimeMs end, TimeMs spacing) {
    return storage.addEvents(camera, count, [=](std::int64_t number) {
        const std::int64_t age = count - 1 - number;
        // A fixed pattern within the spacing, so that times are not all alike.
        const TimeMs shift = age == 0 ? 0 : age * 7919 % std::max<TimeMs>(spacing, 1);
        return NewEvent{std::max<TimeMs>(end - age * spacing - shift, 0), age % 50 == 49 ? "doorbell" : "motion", ""};
    });
}

}  // namespace korvane
