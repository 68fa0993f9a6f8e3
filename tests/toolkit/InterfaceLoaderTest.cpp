#include "korvane/toolkit/InterfaceLoader.h"

#include <QQuickItem>
#include <QTemporaryDir>

#include "korvane/tests/toolkit/StripFixture.h"

namespace korvane {
namespace {

struct TwoPlainCells : CollectionViewDataSource {
    std::int64_t collectionViewNumberOfItemsInSection(CollectionView&, std::int64_t) override { return 2; }
    CollectionViewCell* collectionViewCellForItemAtIndexPath(CollectionView& view, IndexPath item) override {
        return view.dequeueReusableCell(QStringLiteral("cell"), item);
    }
};

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
    const auto loaded = InterfaceLoader::load(write("view.qml", R"(
        import QtQuick
        import Korvane.Toolkit
        Item {
            property CollectionView strip: CollectionView { }
            property Item notAStrip: Item { }
        })"),
                                              nullptr);
    ASSERT_TRUE(loaded.root) << loaded.errors.join(", ").toStdString();
    Outlets outlets(loaded.root.get());
    EXPECT_TRUE(outlets.get<CollectionView>("strip"));
    EXPECT_TRUE(outlets.report("Test"));
    EXPECT_FALSE(outlets.get<CollectionView>("notAStrip"));
    EXPECT_FALSE(outlets.get<QQuickItem>("absent"));
    EXPECT_EQ(outlets.missing(), (QStringList{"notAStrip", "absent"}));
    EXPECT_FALSE(Outlets(nullptr).get<QQuickItem>("strip"));
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

TEST_F(InterfaceLoaderTest, ContextReachesAllThatIsMadeAndTheirCells) {
    const auto own = ToolkitContext::makeWith(std::make_shared<VirtualScheduler>());
    auto loaded = InterfaceLoader::load(
        write("strip.qml", "import Korvane.Toolkit\nCollectionView { width: 300; height: 50 }"), nullptr, own);
    EXPECT_EQ(ToolkitContext::current(), ToolkitContext::shared());
    auto* strip = qobject_cast<CollectionView*>(loaded.root.get());
    ASSERT_TRUE(strip);
    std::shared_ptr<ToolkitContext> ofCells;
    strip->registerFactory(
        [&] {
            ofCells = ToolkitContext::current();
            return std::make_unique<NumberCell>();
        },
        QStringLiteral("cell"));
    TwoPlainCells source;
    strip->setDataSource(&source);
    ui.settle();
    EXPECT_EQ(ofCells, own);
}

TEST_F(InterfaceLoaderTest, ABadCellLayoutGivesPlainCells) {
    TwoPlainCells source;
    for (const QByteArray text : {"import QtQuick\nItem { }", "}"}) {
        CollectionView strip(ui.root());
        strip.registerNib(write(QString::number(text.size()) + ".qml", text), QStringLiteral("cell"));
        strip.setSize({300, 50});
        strip.setDataSource(&source);
        ui.settle();
        EXPECT_TRUE(strip.cellForItemAtIndexPath(0));
    }
}

}  // namespace
}  // namespace korvane
