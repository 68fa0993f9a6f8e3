#pragma once

#include <atomic>
#include <chrono>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>

#include "korvane/base/ByteSource.h"
#include "korvane/base/Descriptor.h"
#include "korvane/film/FilmChannel.h"

namespace korvane {

/// Why an order to a film's process has not been carried out.
struct FilmFailure {
    enum class Kind {
        /// The film is damaged, or none.
        Unreadable,
        /// It would take more memory or time than a film may, or has brought its process down.
        BeyondLimits,
        /// The process could not be had or kept; it may work another time.
        Unavailable,
        Cancelled,
    };
    Kind kind = Kind::Unreadable;
    /// It was memory that did not suffice.
    bool isMemory = false;
    /// In words that go on behind the film's name.
    std::string reason;
};

/// One film, open in a process of its own, which ends with this object. Used by one thread, except for cancel().
class FilmTask {
  public:
    /// What comes before an answer: Progress, Motion, Sound.
    using OnNews = std::function<void(FilmNews& news)>;
    /// Asked several times a second; true breaks the order off.
    using IsOver = std::function<bool()>;

    /// Made by FilmHelper. `helper` is the connection to the program; an order that has taken `patience`, whatever came
    /// in that time, is given up. What `source` takes does not count.
    FilmTask(FilmChannel channel, Descriptor room, std::shared_ptr<const Descriptor> helper,
             std::chrono::milliseconds patience);
    ~FilmTask();

    FilmTask(const FilmTask&) = delete;
    FilmTask& operator=(const FilmTask&) = delete;

    /// Where the film's bytes come from, unless it is a file. Outlives the task.
    void setSource(ByteSource* source) { source_ = source; }

    /// Gives an order and waits for its answer. Absent when the order has failed, see failure(). After any failure but
    /// Unreadable no order is carried out any more.
    std::optional<FilmNews> ask(const FilmWords& order, const OnNews& onNews = {}, const IsOver& isOver = {});

    /// Of the last order that has failed.
    const FilmFailure& failure() const { return failure_; }

    /// What the process has written there; it changes with the next order.
    std::span<const std::uint8_t> room() const { return {room_, roomBytes_}; }

    /// Breaks off the order that is under way, and all later ones. Any thread.
    void cancel();

  private:
    using Clock = std::chrono::steady_clock;

    bool answer(FilmNews& question, const IsOver& isOver);
    bool sendBytes(FilmNews& question, const IsOver& isOver);
    bool isHelperThere() const;
    void makeRoom(std::int64_t bytes);
    void fail(FilmFailure::Kind kind, std::string reason);
    void noteFailure(FilmNews& news);

    FilmChannel channel_;
    Descriptor memory_;
    const std::shared_ptr<const Descriptor> helper_;
    const std::chrono::milliseconds patience_;
    const std::uint8_t* room_ = nullptr;
    std::size_t roomBytes_ = 0;
    ByteSource* source_ = nullptr;
    FilmFailure failure_;
    bool isOver_ = false;
    std::atomic<bool> isCancelled_ = false;
    std::string buffer_;
};

}  // namespace korvane
