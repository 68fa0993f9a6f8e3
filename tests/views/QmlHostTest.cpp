#include <gmock/gmock.h>

#include <QQmlComponent>
#include <QQmlEngine>

#include "korvane/tests/views/StripFixture.h"
#include "korvane/views/timeline/TimelineTypes.h"

namespace korvane::test {
namespace {

using namespace std::chrono_literals;

constexpr const char* hostFile = R"(
    import QtQuick
    import Korvane.Timeline

    Item {
        property alias strip: strip
        property string token
        property var heard: []
        property var selected

        function deleteSelected() {
            return strip.deleteEvent(selected)
        }

        ScrubberView {
            id: strip
            y: 10
            width: 600
            height: 100
            config.cellWidth: 80
            config.backgroundColor: "#101010"
            config.eventTypeImages: ({ Motion: "qrc:/Korvane/Timeline/images/scrubberEventTypeMotion.png", door: "no" })
            playback.position: parent.selected ? parent.selected.start + 1000 : -1
            source: parent.token
            onScrubberDidSelectEvent: event => {
                heard.push("select " + event.identificator)
                selected = event
            }
            onScrubberEventDeleted: (event, message) => heard.push("deleted " + event.identificator)
            onScrubberStateChanged: (from, toState, withStatus) => heard.push(from + ">" + toState)
        }
    }
)";

TEST(QmlHostTest, NeedsNothingButProperties) {
    VirtualUi ui;
    ScriptedService service(ui.scheduler());
    service.addEvents(30, ui.scheduler().utcNow());
    TimelineEnvironment::setShared({nullptr, std::shared_ptr<KorvaneService>(&service, [](auto*) {})});
    registerTimelineTypes();
    QQmlEngine engine;
    engine.addImportPath(":/");
    QQmlComponent component(&engine);
    component.setData(hostFile, QUrl("qrc:/host.qml"));
    std::unique_ptr<QObject> host(
        component.createWithInitialProperties({{"token", QString::fromStdString(service.makeToken())}}));
    ASSERT_TRUE(host) << component.errorString().toStdString();
    qobject_cast<QQuickItem*>(host.get())->setParentItem(ui.root());
    ui.settle();
    ui.advance(50ms);

    auto* const view = qvariant_cast<ScrubberView*>(host->property("strip"));
    ASSERT_TRUE(view);
    EXPECT_EQ(view->size(), QSizeF(600, 100)) << "the host's bindings place it";
    EXPECT_EQ(view->getEventsCount(), 32);
    EXPECT_DOUBLE_EQ(view->getConfig().cellWidth(), 80);
    ui.tap({200, 60});
    ui.advance(1100ms);
    EXPECT_EQ(view->getConfig().eventTypeImages()->keys(), QStringList("motion"));
    EXPECT_EQ(view->playback()->position(), view->getCurrentEvent()->start() + 1000);
    QMetaObject::invokeMethod(view, "toPreviousEvent");
    ui.advance(1100ms);
    QMetaObject::invokeMethod(host.get(), "deleteSelected");
    ui.advance(1100ms);
    EXPECT_THAT(host->property("heard").toStringList(),
                testing::ElementsAre("0>1", "1>0", "select 29", "select 28", "0>4", "4>0", "deleted 28", "select 29"));
    host->setProperty("selected", QVariant());

    host->setProperty("token", "nonsense");
    ui.settle();
    EXPECT_LT(view->property("sourceStatus").toInt(), 0);
    host.reset();
    ui.settle();
    TimelineEnvironment::setShared({});
}

}  // namespace
}  // namespace korvane::test
