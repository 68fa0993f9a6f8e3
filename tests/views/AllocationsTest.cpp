// A strip that scrolls over cells that are there allocates nothing: all memory of this program is counted.
#include <gtest/gtest.h>

#include <QCoreApplication>
#include <cstdlib>
#include <new>

#include "korvane/tests/support/qt/VirtualUi.h"
#include "korvane/tests/support/service/ScriptedService.h"
#include "korvane/views/timeline/Presentation/ReloadingCollectionView.h"
#include "korvane/views/timeline/ScrubberTimelineView.h"
#include "korvane/views/timeline/ScrubberView.h"

namespace {

thread_local long allocations = 0;

}  // namespace

void* operator new(std::size_t size) {
    ++allocations;
    if (void* const memory = std::malloc(size)) return memory;
    throw std::bad_alloc();
}
void operator delete(void* memory) noexcept {
    std::free(memory);
}
void operator delete(void* memory, std::size_t /*size*/) noexcept {
    std::free(memory);
}

namespace korvane::test {
namespace {

using namespace std::chrono_literals;

TEST(AllocationsTest, NoneInAFrameThatMovesCellsAlone) {
    VirtualUi ui;
    ScriptedService service(ui.scheduler());
    const TimelineEnvironment environment{nullptr, std::shared_ptr<KorvaneService>(&service, [](auto*) {})};
    const TimeMs begin = ui.scheduler().utcNow() - 10'000'000;
    service.addEvents(300, begin);
    service.withFootage([begin](ScriptedFootage& footage) {
        footage.addRecord({1, begin, begin + 9'000'000, "", ""});
    });
    const std::function<std::unique_ptr<ScrubberWidget>()> kinds[] = {
        [&] { return std::make_unique<ScrubberView>(environment, Rect{}, ui.root()); },
        [&] {
            auto view = std::make_unique<ScrubberTimelineView>(environment, Rect{}, ui.root());
            view->getConfig().setDataSourceType(ScrubberDataSourceTypeTimeline);
            return view;
        },
    };
    for (const auto& make : kinds) {
        const auto view = make();
        view->setSource(QString::fromStdString(service.makeToken()));
        ui.advance(2s);
        view->toLastEvent();
        ui.advance(2s);
        auto* const strip = view->findChild<ReloadingCollectionView*>();
        ASSERT_TRUE(strip);
        const double rest = strip->contentOffset().x;
        long counted = 0;
        for (int frame = 0; frame < 200; ++frame) {
            const long before = allocations;
            strip->setContentOffset({rest - 20 - std::abs(frame % 20 - 10), 0});
            QCoreApplication::sendPostedEvents(strip);
            if (frame >= 100) counted += allocations - before;
        }
        EXPECT_EQ(counted, 0);
    }
}

}  // namespace
}  // namespace korvane::test
