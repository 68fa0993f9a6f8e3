#include "korvane/base/UtcTime.h"
#include "korvane/tests/Model/ProviderFixture.h"

namespace korvane::test {
namespace {

Reply at(TimeMs time, std::int64_t id = 1, const std::string& name = "motion") {
    return {{"id", id}, {"name", name}, {"time", formatUtc(time)}};
}

Reply pageOf(const std::vector<TimeMs>& times) {
    Reply page = Reply::array();
    for (std::size_t i = 0; i < times.size(); ++i) page.push_back(at(times[i], static_cast<std::int64_t>(i) + 1));
    return page;
}

class EventFilling : public ProviderTest {
  protected:
    // Ids of a list's entries, a group's in brackets, slots that wait as points; head and live entry left out.
    std::string shape() {
        std::string text;
        for (std::int64_t i = 1; i + 1 < provider->OnScrubberGetEventsCount(); ++i) {
            const auto fields = entry(i)->fields();
            std::string ids;
            for (const auto& child : fields.childs) ids += std::to_string(child->identificator().value());
            if (ids.empty()) ids = fields.type == ScrubberEventTypeItem ? std::to_string(*fields.identificator) : ".";
            text += fields.type == ScrubberEventTypeGroup ? "[" + ids + "]" : ids;
        }
        return text;
    }

    std::string fill(std::uint64_t slots, const std::vector<TimeMs>& times, std::uint64_t index, bool grouping) {
        provider->enableEventGrouping(grouping);
        provider->initStorageForEvents(slots);
        provider->fillEventsFromDictionary(pageOf(times), index);
        return shape();
    }
};

TEST_F(EventFilling, ReadsAnElementByItsKeys) {
    using Text = std::optional<std::string>;
    // Element; id, name, time, picture; moment, start.
    const std::tuple<const char*, std::optional<std::int64_t>, Text, Text, Text, TimeMs, TimeMs> cases[] = {
        {R"({"id":5,"name":"motion","time":"1970-01-01T00:01:40Z","thumb":{"url":"u"},"video":"v"})", 5, "motion",
         "1970-01-01T00:01:40Z", "u", 100000, 95000},
        {R"({"ID":5,"CamId":9,"thumb":{"x":1,"URL":"u","url":"w"}})", 5, "", "", "u", -1, 0},
        // The keys of these three are known in any case, their values only under the exact spelling.
        {R"({"id":5,"Name":"motion","Time":"1970-01-01T00:01:40Z","Thumb":{"url":"u"}})", 5, {}, {}, {}, -1, -5001},
        {R"({"name":"a","NAME":"b"})", 0, "a", "", "", -1, 0},
        {R"({"id":1,"iD":2,"id":3,"ID":4})", 4, "", "", "", -1, 0},
        {R"({"id":"12","name":7,"time":"soon","thumb":[]})", 12, {}, "soon", {}, -1, -5001},
        {R"({"id":null,"name":null,"time":null,"thumb":null})", {}, {}, {}, {}, -1, -5001},
        {R"({"":1,"thumb":{"url":5}})", 0, "", "", {}, -1, 0},
        {R"("text")", 0, "", "", "", -1, 0},
        {"null", 0, "", "", "", -1, 0},
        {R"([{"id":5}])", 0, "", "", "", -1, 0},
    };
    for (const bool grouping : {false, true}) {
        for (const auto& [element, id, name, time, imageUrl, moment, start] : cases) {
            SCOPED_TRACE(element);
            provider->enableEventGrouping(grouping);
            provider->initStorageForEvents(3);
            Reply page = Reply::array({Reply::parse(element), at(-1'000'000, 8)});
            provider->fillEventsFromDictionary(page, 3);
            const auto fields = entry(3)->fields();
            EXPECT_EQ(std::tuple(fields.type, fields.identificator, fields.name, fields.time),
                      std::tuple(ScrubberEventTypeItem, id, name, time));
            EXPECT_EQ(std::tuple(fields.imageUrl, fields.videoUrl, fields.timeAsValue, fields.start),
                      std::tuple(imageUrl, "", moment, start));
            EXPECT_EQ(entry(2)->identificator(), 8) << "the neighbour has moved";
        }
    }
}

TEST_F(EventFilling, PlacesAndGroupsAPage) {
    const struct {
        bool grouping;
        std::uint64_t slots, index;
        std::vector<TimeMs> times;
        const char* shape;
    } cases[] = {
        {false, 12, 10, {30, 20, 10}, ".......321.."},
        {true, 12, 14, {30}, "............"},
        {true, 6, 6, {100000, 95000, 60000, 58000, 30000, 0}, "65[43][21]"},
        {true, 3, 3, {20001, 10000}, ".21"},
        // Neighbours count, not the whole span.
        {true, 4, 4, {30000, 21000, 12000, 3000}, "[4321]"},
        // More elements than slots: the fill ends at the head entry.
        {false, 2, 2, {300000, 200000, 100000, 0}, "21"},
        {true, 2, 2, {300000, 200000, 195000, 190000}, "21"},
    };
    for (const auto& c : cases) {
        EXPECT_EQ(fill(c.slots, c.times, c.index, c.grouping), c.shape) << "grouping " << c.grouping;
        EXPECT_EQ(entry(0)->type(), ScrubberEventTypeHead);
        EXPECT_EQ(entry(provider->OnScrubberGetEventsCount() - 1)->type(), ScrubberEventTypeLive);
    }
}

TEST_F(EventFilling, OldestFirstWhatDoesNotFitEndsAtTheLastEntry) {
    bind();
    provider->setSource(service.makeToken(), -1, -1, std::nullopt, 1, 0, 0, -1);
    EXPECT_EQ(fill(2, {1, 2, 3, 4, 5}, 1, false), "12");
    EXPECT_EQ(entry(3)->type(), ScrubberEventTypeLive);
    // Each element joins the one before.
    EXPECT_EQ(fill(4, {1, 90'000, 500'000}, 1, true), "[321].");
}

}  // namespace
}  // namespace korvane::test
