#include "toolkit/InterfaceLoader.h"

#include <gtest/gtest.h>

#include <QQuickItem>
#include <QTemporaryDir>
#include <QUrl>
#include <string>
#include <vector>

#include "base/Log.h"
#include "tests/toolkit/StripFixture.h"
#include "toolkit/ImageView.h"
#include "toolkit/LayoutConstraint.h"

namespace korvane {
namespace {

class InterfaceLoaderTest : public testing::Test {
  protected:
    QUrl write(const QString& name, const QByteArray& text) {
        QFile file(folder.filePath(name));
        EXPECT_TRUE(file.open(QIODevice::WriteOnly));
        file.write(text);
        return QUrl::fromLocalFile(file.fileName());
    }

    VirtualUi ui;
    QTemporaryDir folder;
};

TEST_F(InterfaceLoaderTest, ReadsOutletsAndNamesWhatIsMissing) {
    const QUrl url = write("view.qml", R"(
        import QtQuick
        import Korvane.Toolkit
        Item {
            property CollectionView strip: CollectionView { width: 100; height: 20 }
            property ImageView preview: ImageView { cornerRadius: 4 }
            property LayoutConstraint length: LayoutConstraint { constant: 12 }
            property Item notAStrip: Item { }
            property Item bar: Item { width: length.seen }
            property int number: 3
        })");
    const auto loaded = InterfaceLoader::load(url, nullptr);
    ASSERT_TRUE(loaded.root) << loaded.errors.join(", ").toStdString();
    Outlets outlets(loaded.root.get());
    EXPECT_TRUE(outlets.get<CollectionView>("strip"));
    EXPECT_TRUE(outlets.get<ImageView>("preview"));
    EXPECT_TRUE(outlets.report("Test"));
    EXPECT_EQ(outlets.get<QQuickItem>("bar")->width(), 12);
    EXPECT_FALSE(outlets.get<CollectionView>("notAStrip"));
    EXPECT_FALSE(outlets.get<QQuickItem>("number"));
    EXPECT_FALSE(outlets.get<QQuickItem>("absent"));
    EXPECT_EQ(outlets.missing(), (QStringList{"notAStrip", "number", "absent"}));
    std::string line;
    const auto before = setLogSink([&](std::string_view text) { line = text; });
    EXPECT_FALSE(outlets.report("Test"));
    setLogSink(before);
    EXPECT_EQ(line, "Test: layout lacks outlets: notAStrip, number, absent");
    Outlets none(nullptr);
    EXPECT_FALSE(none.get<QQuickItem>("strip"));
}

TEST_F(InterfaceLoaderTest, BadFilesGiveErrorsAndNoObject) {
    const std::vector<QUrl> urls = {
        write("broken.qml", "import QtQuick\nItem { width: }"),
        write("unknown.qml", "import QtQuick\nNoSuchThing { }"),
        write("garbage.qml", QByteArray(2000, '\x01')),
        QUrl::fromLocalFile(folder.filePath("absent.qml")),
        QUrl("http://127.0.0.1:1/remote.qml"),
        QUrl(),
    };
    for (const QUrl& url : urls) {
        const auto loaded = InterfaceLoader::load(url, nullptr);
        EXPECT_FALSE(loaded.root) << url.fileName().toStdString();
        EXPECT_FALSE(loaded.errors.isEmpty()) << url.fileName().toStdString();
    }
}

TEST_F(InterfaceLoaderTest, CellsComeFromTheirLayoutOrPlain) {
    struct Source : CollectionViewDataSource {
        std::int64_t collectionViewNumberOfItemsInSection(CollectionView&, std::int64_t) override { return 2; }
        CollectionViewCell* collectionViewCellForItemAtIndexPath(CollectionView& view, IndexPath item) override {
            return view.dequeueReusableCell(QStringLiteral("cell"), item);
        }
    } source;
    struct Case {
        QUrl url;
        QString title;
    };
    const std::vector<Case> cases = {
        {write("cell.qml", "import Korvane.Toolkit\nCollectionViewCell { property string title: 'hello' }"), "hello"},
        {write("nocell.qml", "import QtQuick\nItem { property string title: 'hello' }"), ""},
        {write("bad.qml", "}"), ""},
    };
    for (const auto& c : cases) {
        CollectionView strip(ui.root());
        strip.registerNib(c.url, QStringLiteral("cell"));
        strip.setSize({300, 50});
        strip.setDataSource(&source);
        ui.settle();
        ASSERT_TRUE(strip.cellForItemAtIndexPath(0));
        EXPECT_EQ(strip.cellForItemAtIndexPath(0)->property("title").toString(), c.title);
    }
}

}  // namespace
}  // namespace korvane
