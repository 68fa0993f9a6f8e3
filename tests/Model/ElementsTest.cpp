#include "korvane/base/UtcTime.h"
#include "korvane/client/Status.h"
#include "korvane/tests/Model/ProviderFixture.h"

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

Reply record(TimeMs start, TimeMs end, std::int64_t id) {
    const auto text = std::to_string(id);
    return {{"id", id}, {"start", formatUtc(start)}, {"end", formatUtc(end)}, {"url", "v" + text}, {"thumb_url", text}};
}

class RecordsProvider : public ProviderTest {
  protected:
    RecordsProvider() { useRecords(); }

    // 250 recordings of 5 s each half minute, ids 1 and up from the oldest, with a thumbnail each.
    void addRecords() {
        service.withFootage([this](ScriptedFootage& f) {
            for (std::int64_t id = 1; id <= 250; ++id) {
                const TimeMs start = scheduler.utcNow() - (251 - id) * 30'000;
                f.addRecord({id, start, start + 5000, "v", "t" + std::to_string(id)});
            }
        });
    }

    std::string imageAt(std::int64_t index) { return entry(index)->imageUrl().value_or("-"); }
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
    addRecords();
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
    Reply lowerCase = at("b", 0);
    lowerCase["time"].get_ref<std::string&>()[10] = 't';
    const std::pair<Script, std::string> cases[] = {
        {Script::failed(503), "..."},
        {Script{.reply = Reply{{"objects", Reply::array({at("a", 0)})}}, .status = 500}, "..."},
        {Script::answered(Reply::array({at("a", 0)})), "..."},
        {Script::answered({{"Objects", Reply::array({at("a", 0)})}}), "..."},
        {answered({{"url", at("a", 0)}}), "..."},
        {Script{.delay = std::chrono::seconds(5), .reply = Reply{{"objects", Reply::array({at("a", 0)})}}}, "a.."},
        // Fewer, more, twice: the last one counts. The first of two recordings of one start gets it.
        {answered(Reply::array({at("a", 0), at("x", 1), lowerCase, at("c", 1000)})), "bc."},
        {answered(Reply::array({at("", 1000), at(nullptr, 0), at(5, 0), 5, nullptr, at("d", 0)})), "d.."},
        {answered(Reply::array({{{"url", "a"}, {"time", ""}}, {{"url", "a"}}, {{"time", formatUtc(newest)}}})), "..."},
    };
    const Reply records = {record(newest, newest + 10, 3),
                           record(newest - 1000, newest, 2),
                           record(newest - 1000, newest, 1),
                           Reply(5),
                           {{"id", 1}, {"start", ""}}};
    for (std::size_t i = 0; i < std::size(cases); ++i) {
        SCOPED_TRACE(i);
        Reply page = {{"meta", {{"total_count", 5}}}, {"objects", records}};
        for (Reply& element : page["objects"]) {
            if (element.is_object()) element.erase("thumb_url");
        }
        service.scriptNext("getRecords", Script::answered(page));
        service.scriptNext("getTimelineThumbnailsFull", cases[i].first);
        bind();
        scheduler.advance(std::chrono::seconds(10));
        EXPECT_EQ(delegate->take(), Calls{"reload 0 0"});
        const auto shown = [&](std::int64_t index) { return imageAt(index).empty() ? "." : imageAt(index); };
        EXPECT_EQ(shown(5) + shown(4) + shown(3), cases[i].second);
        EXPECT_EQ(entry(1)->type(), ScrubberEventTypeItem);
    }
}

TEST_F(RecordsProvider, AsksForTheThumbnailsOfEachPage) {
    addRecords();
    bind();
    check(100);
    EXPECT_EQ(delegate->take(), (Calls{"reload 0 0", "index 150 0 -1 252 252"}));
    for (const std::string name : {"getRecords", "getTimelineThumbnailsFull"}) {
        const auto asked = service.requests(name);
        for (std::size_t i = 0; i < 2; ++i) {
            EXPECT_EQ(std::tuple(asked.at(i).start, asked[i].end, asked[i].order, asked[i].limit, asked[i].offset),
                      std::tuple(-1, scheduler.utcNow(), 0, 100, i * 100));
        }
    }
    for (std::int64_t i = 51; i <= 250; ++i) ASSERT_EQ(imageAt(i), "t" + std::to_string(i));
    EXPECT_EQ(service.count("getEvents"), 0u);
}

}  // namespace
}  // namespace korvane::test
