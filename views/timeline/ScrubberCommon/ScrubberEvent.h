#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

#include "korvane/base/Time.h"
#include "korvane/views/timeline/ScrubberCommon/ScrubberEventSpan.h"
#include "korvane/views/timeline/ScrubberCommon/ScrubberEventType.h"

namespace korvane {

class ScrubberEventBounds;

/// One entry of a scrubber's list. Lists, cells and hosts share it: a provider fills an entry in place while a cell
/// shows it. So each getter and setter locks the entry for its own length, and a filler publishes all fields at once
/// with assign(). Entries stay valid after they have left their list.
class ScrubberEvent {
  public:
    /// A null image view slot: nothing in the library fills or reads it.
    using ImageViewSlot = std::shared_ptr<void>;
    using Childs = std::vector<std::shared_ptr<ScrubberEvent>>;

    /// The fields as plain values, for reading or writing them all in one piece.
    struct Fields {
        std::int32_t type = ScrubberEventTypePending;
        /// The service's id of the event or recording; 0 means none, absent that the service gave none.
        std::optional<std::int64_t> identificator = 0;
        std::optional<std::int64_t> camid = 0;
        /// The moment as the service wrote it, for display only.
        std::optional<std::string> time = std::string();
        std::optional<std::string> name = std::string();
        std::optional<std::string> imageUrl = std::string();
        std::optional<std::string> videoUrl = std::string();
        /// The span that the entry covers, ms.
        TimeMs start = 0;
        TimeMs end = 0;
        ImageViewSlot imageView;
        /// The moment as a number, ms; the key on which lists are searched; -1 for none.
        TimeMs timeAsValue = -1;
        /// Name of the zone in which to show the moment.
        std::string timezone;
        /// The group that holds this entry. Weak: the group holds its members.
        std::weak_ptr<ScrubberEvent> parent;
        /// Members of a group, newest insert first.
        Childs childs;
    };

    /// All fields at their defaults, with the device's own time zone.
    ScrubberEvent();
    explicit ScrubberEvent(Fields fields);
    /// An entry of which no more is known, as many are made at a time.
    ScrubberEvent(TimeMs timeAsValue, const std::string& name, const std::string& timezone);

    /// A default entry, of type pending.
    static std::shared_ptr<ScrubberEvent> build();
    /// An entry for a moment in ms: the live entry for exactly -1, an item for every other value.
    static std::shared_ptr<ScrubberEvent> build(TimeMs time);
    static std::shared_ptr<ScrubberEvent> build(std::optional<std::int64_t> identificator, TimeMs andTime);

    void resetToDefault();

    /// All fields as of one moment.
    Fields fields() const;
    /// Replaces all fields at once.
    void assign(Fields fields);

    std::int32_t type() const;
    void setType(std::int32_t type);
    std::optional<std::int64_t> identificator() const;
    void setIdentificator(std::optional<std::int64_t> identificator);
    std::optional<std::int64_t> camid() const;
    void setCamid(std::optional<std::int64_t> camid);
    std::optional<std::string> time() const;
    void setTime(std::optional<std::string> time);
    std::optional<std::string> name() const;
    void setName(std::optional<std::string> name);
    std::optional<std::string> imageUrl() const;
    void setImageUrl(std::optional<std::string> imageUrl);
    std::optional<std::string> videoUrl() const;
    void setVideoUrl(std::optional<std::string> videoUrl);
    TimeMs start() const;
    void setStart(TimeMs start);
    TimeMs end() const;
    void setEnd(TimeMs end);
    /// Type, moment and span as of one moment.
    ScrubberEventSpan span() const;
    bool hasSpan() const { return span().hasSpan(); }
    bool covers(TimeMs time, bool endIncluded) const { return span().covers(time, endIncluded); }
    ImageViewSlot imageView() const;
    void setImageView(ImageViewSlot imageView);
    TimeMs timeAsValue() const;
    void setTimeAsValue(TimeMs timeAsValue);
    std::string timezone() const;
    void setTimezone(std::string timezone);
    std::shared_ptr<ScrubberEvent> parent() const;
    void setParent(const std::shared_ptr<ScrubberEvent>& parent);
    /// A copy of the list; the members are shared.
    Childs childs() const;
    void setChilds(Childs childs);
    std::size_t childCount() const;

    /// For the list that holds the entry: `bounds` take in its moment and id as they are and as they change from now
    /// on, before others can read them. They replace those of a list before.
    void setBounds(std::shared_ptr<ScrubberEventBounds> bounds);

  private:
    mutable std::mutex mutex_;
    Fields fields_;
    std::shared_ptr<ScrubberEventBounds> bounds_;
};

}  // namespace korvane
