#pragma once

#include <deque>

#include "korvane/tests/support/qt/VirtualUi.h"
#include "korvane/tests/support/service/ScriptedService.h"
#include "korvane/tests/views/storm/StormHost.h"
#include "korvane/views/timeline/Presentation/ReloadingCollectionView.h"
#include "korvane/views/timeline/ScrubberTimelineView.h"
#include "korvane/views/timeline/ScrubberView.h"

namespace korvane::test {

/// Does to a strip whatever may be done to it, in the order that a seed draws, and looks after each step whether
/// it keeps what it promises. The same seed does the same, threads included, so a seed that fails is played again with
/// --gtest_filter='Seeds/StormTest.*/N', N being one less than the seed. With KORVANE_STORM_TRACE in the environment
/// each step is printed.
class Storm {
  public:
    enum class Widget { Events, Timeline };

    explicit Storm(std::uint64_t seed, Widget widget = Widget::Events);
    ~Storm();

    Storm(const Storm&) = delete;
    Storm& operator=(const Storm&) = delete;

    /// What went wrong first, with what led to it; empty when nothing did.
    std::string run(int steps);

    /// Stands for all that has happened.
    std::uint64_t digest() const { return digest_; }

  private:
    /// Counts the calls of a completion that was handed over.
    struct Promise {
        std::string name;
        bool mustBeKept = false;
        std::size_t view = 0;  // as it is counted
        int calls = 0;
    };

    struct Step {
        int weight;
        const char* name;
        void (Storm::*run)();
    };
    static const std::vector<Step>& allSteps();

    static constexpr double widestMark = 30;

    void note(std::string_view text);
    void complain(const std::string& what);
    std::string report() const;
    std::shared_ptr<Promise> promise(const char* name, bool mustBeKept);

    void fillFootage(std::int64_t count);
    void makeView();
    void endView();
    void meddle();
    void navigate();
    template <typename View>
    void navigate(View& view);
    QString drawToken();
    std::shared_ptr<ScrubberEvent> drawEvent();
    Point drawPoint();
    void liftAll();

    // Steps.
    void stepPointer();
    void stepDrag();
    void stepFlick();
    void stepTap();
    void stepWheel();
    void stepCancel();
    void stepNavigate();
    void stepScrollToPointer();
    void stepDelete();
    void stepSetSource();
    void stepClean();
    void stepReload();
    void stepResize();
    void stepConfigure();
    void stepOwnSource();
    void stepView();
    void stepShortTime();
    void stepLongTime();
    void stepScript();
    void stepRelease();
    void stepFootage();
    void stepMood();
    void stepRest();

    // Promises.
    void check();
    void checkList();
    void checkPlayback();
    void checkPromises(bool isAtRest);
    void checkBounds();
    void checkMark();
    void checkWhatIsInView();
    void checkEnd();

    StormHost& host() { return *hosts_.back(); }
    ReloadingCollectionView& strip() const;
    bool hasTimeline() const { return widget_ == Widget::Timeline; }
    bool isSame(const std::shared_ptr<ScrubberEvent>& one, const std::shared_ptr<ScrubberEvent>& other) const;
    /// Points over which the span of an entry lies.
    double scaleOf(std::int64_t index) const;

    const std::uint64_t seed_;
    const Widget widget_;
    const bool hasLies_;
    Dice dice_;
    VirtualUi ui_;
    ScriptedService service_;
    TimelineEnvironment environment_;
    std::vector<std::unique_ptr<StormHost>> hosts_;
    std::unique_ptr<ScrubberWidget> view_;
    std::shared_ptr<ScrubberEvent> kept_;
    /// What played when the host scrolled the strip by itself.
    std::weak_ptr<ScrubberEvent> leftByHost_;
    std::map<int, Point> down_;
    std::vector<std::shared_ptr<Promise>> promises_;
    std::int64_t lastId_ = 0;
    int threadsOfService_ = 0;
    int step_ = 0;
    std::deque<std::string> last_;
    std::string fault_;
    std::uint64_t digest_ = 1469598103934665603ULL;
};

}  // namespace korvane::test
