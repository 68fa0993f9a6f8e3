#include "korvane/base/UtcTime.h"
#include "korvane/tests/Model/ProviderFixture.h"
#include "korvane/views/timeline/Model/ReplyValues.h"

namespace korvane::test {
namespace {

using EventFilling = ProviderTest;

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
            Reply page = Reply::array(
                {Reply::parse(element), Reply{{"id", 8}, {"name", "motion"}, {"time", formatUtc(-1'000'000)}}});
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

Reply record(TimeMs start, TimeMs end) {
    return {{"start", formatUtc(start)}, {"end", formatUtc(end)}, {"url", "video"}};
}

class RecordsProvider : public ProviderTest {
  protected:
    RecordsProvider() { useRecords(); }
};

TEST_F(RecordsProvider, ReadsAnElementByItsKeys) {
    using Text = std::optional<std::string>;
    using Id = std::optional<std::int64_t>;
    const std::tuple<const char*, Id, Id, Text, Text, Text, TimeMs, TimeMs, TimeMs> cases[] = {
        {R"({"ID":"5","Start":"1970-01-01T00:01:40Z","END":"1970-01-01T00:02:40Z","URL":"v","thumb_url":"t"})", 5, 7,
         "1970-01-01T00:01:40Z", "v", "t", 100'000, 99'999, 160'000},
        {R"({"id":5,"camid":9,"name":"n","time":"1970-01-01T00:01:40Z"})", 5, 9, "", "", "", -1, 0, 0},
        {R"({"id":[],"camid":"x","start":7,"end":{},"url":null,"thumb_url":[1]})", std::nullopt, std::nullopt, Text(),
         Text(), Text(), -1, -2, -1},
        {R"([1])", 0, 7, "", "", "", -1, 0, 0},
    };
    bind();
    for (const auto& [element, id, camid, time, videoUrl, imageUrl, moment, start, end] : cases) {
        SCOPED_TRACE(element);
        provider->initStorageForEvents(1);
        provider->fillEventsFromDictionary(Reply::array({Reply::parse(element)}), 1);
        const auto fields = entry(1)->fields();
        EXPECT_EQ(std::tuple(fields.type, fields.name, fields.timezone),
                  std::tuple(ScrubberEventTypeItem, "record_segment", "UTC"));
        EXPECT_EQ(std::tuple(fields.identificator, fields.camid), std::tuple(id, camid));
        EXPECT_EQ(std::tuple(fields.time, fields.videoUrl, fields.imageUrl), std::tuple(time, videoUrl, imageUrl));
        EXPECT_EQ(std::tuple(fields.timeAsValue, fields.start, fields.end), std::tuple(moment, start, end));
    }
}

TEST_F(RecordsProvider, ShowsAPageWhateverBecomesOfItsThumbnails) {
    const TimeMs newest = 1'700'000'000'000;
    const auto at = [&](Reply url, TimeMs before) -> Reply {
        return {{"url", std::move(url)}, {"time", formatUtc(newest - before)}};
    };
    const auto answered = [](Reply objects) { return Script::answered({{"objects", std::move(objects)}}); };
    Script late = answered(Reply::array({at("a", 0)}));
    late.delay = std::chrono::seconds(5);
    const std::pair<Script, std::string> cases[] = {
        {Script::failed(503), "..."},
        {Script::answered(Reply::array({at("a", 0)})), "..."},
        {answered({{"url", at("a", 0)}}), "..."},
        {late, "a.."},
        // Fewer, more, twice: the last one counts. The first of two recordings of one start gets it.
        {answered(Reply::array({at("a", 0), at("x", 1), at("b", 0), at("c", 1000)})), "bc."},
        {answered(Reply::array({at("", 1000), at(nullptr, 0), at(5, 0), 5, nullptr, at("d", 0)})), "d.."},
        {answered(Reply::array({{{"url", "a"}, {"time", ""}}, {{"url", "a"}}, {{"time", formatUtc(newest)}}})), "..."},
    };
    const Reply records = {record(newest, newest + 10), record(newest - 1000, newest), record(newest - 1000, newest),
                           Reply(5)};
    for (const auto& [script, expected] : cases) {
        service.scriptNext("getRecords", Script::answered({{"meta", {{"total_count", 4}}}, {"objects", records}}));
        service.scriptNext("getTimelineThumbnailsFull", script);
        bind();
        scheduler.advance(std::chrono::seconds(10));
        EXPECT_EQ(delegate->take(), Calls{"reload 0 0"});
        const auto shown = [&](std::int64_t index) {
            const auto url = entry(index)->imageUrl().value_or("");
            return url.empty() ? "." : url;
        };
        EXPECT_EQ(shown(4) + shown(3) + shown(2), expected);
        EXPECT_EQ(entry(1)->type(), ScrubberEventTypeItem);
    }
}

TEST(ReplyValues, TakesIntegersInTheirUsualDisguises) {
    constexpr auto most = std::numeric_limits<std::int64_t>::max();
    const std::pair<Reply, std::int64_t> integers[] = {{12, 12}, {-3, -3}, {"12", 12}, {12.0, 12}, {most, most}};
    for (const auto& [value, integer] : integers) EXPECT_EQ(integerValue(&value), integer) << value.dump();
    const Reply others = {~std::uint64_t{0}, 1e300, 12.5, "12x", "", "99999999999999999999", true, nullptr, {12}};
    for (const Reply& value : others) EXPECT_EQ(integerValue(&value), std::nullopt) << value.dump();
    EXPECT_EQ(integerValue(nullptr), std::nullopt);
}

}  // namespace
}  // namespace korvane::test
