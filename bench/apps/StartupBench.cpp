// How long the application takes from its start to the first frame with filled cells, and what it keeps in memory then
// and some seconds later. On an imported folder that is its argument, or on sample footage that it makes first.

#include <QFile>
#include <QProcess>
#include <QProcessEnvironment>
#include <QTemporaryDir>
#include <algorithm>
#include <chrono>
#include <cstdio>
#include <optional>
#include <thread>
#include <vector>

#include "korvane/server/Importer.h"
#include "korvane/server/SampleMaker.h"
#include "korvane/server/Storage.h"

namespace {

using namespace korvane;
namespace fs = std::filesystem;
using Clock = std::chrono::steady_clock;

constexpr int starts = 25;
constexpr std::chrono::seconds patience{60};
constexpr std::chrono::seconds rest{5};
constexpr int kilobytesInMegabyte = 1024;

struct Memory {
    int resident = 0;  // MB, as all here
    int proportional = 0;
};

struct Start {
    double milliseconds = 0;
    Memory filled;
    Memory rested;
};

bool prepare(const fs::path& folder) {
    SampleOptions options;
    options.end =
        std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::system_clock::now().time_since_epoch())
            .count();
    return static_cast<bool>(makeSample(folder, options));
}

bool import(const fs::path& folder) {
    auto storage = Storage::open(defaultDatabase(folder));
    return storage && importFolder(**storage, folder, {});
}

Memory memoryOf(qint64 process) {
    QFile file(QStringLiteral("/proc/%1/smaps_rollup").arg(process));
    Memory memory;
    if (!file.open(QIODevice::ReadOnly)) return memory;
    for (const QByteArray& line : file.readAll().split('\n')) {
        const int megabytes =
            line.mid(line.indexOf(':') + 1).simplified().split(' ').front().toInt() / kilobytesInMegabyte;
        if (line.startsWith("Rss:")) memory.resident = megabytes;
        if (line.startsWith("Pss:")) memory.proportional = megabytes;
    }
    return memory;
}

QProcessEnvironment environmentIn(const QString& home) {
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.insert(QStringLiteral("QT_QPA_PLATFORM"), QStringLiteral("offscreen"));
    environment.insert(QStringLiteral("QT_QUICK_BACKEND"), QStringLiteral("software"));
    environment.insert(QStringLiteral("QT_LOGGING_RULES"), QStringLiteral("korvane.startup.info=true"));
    for (const char* variable : {"HOME", "XDG_CONFIG_HOME", "XDG_CACHE_HOME", "XDG_RUNTIME_DIR"})
        environment.insert(QLatin1String(variable), home);
    return environment;
}

std::optional<Start> startOnce(const QString& folder, const QProcessEnvironment& environment, bool isResting) {
    QProcess process;
    process.setProcessEnvironment(environment);
    process.setProcessChannelMode(QProcess::MergedChannels);
    const auto begin = Clock::now();
    process.start(QStringLiteral(KORVANE_BROWSER), {folder});
    QByteArray said;
    while (!said.contains("korvane.startup: filled")) {
        const bool hasMore = process.waitForReadyRead(static_cast<int>(std::chrono::milliseconds(patience).count()));
        if (!hasMore) {
            std::fprintf(stderr, "no filled cells: %s\n", said.constData());
            process.kill();
            process.waitForFinished();
            return {};
        }
        said += process.readAll();
    }
    Start start{
        std::chrono::duration<double, std::milli>(Clock::now() - begin).count(), memoryOf(process.processId()), {}};
    if (isResting) std::this_thread::sleep_for(rest);
    start.rested = memoryOf(process.processId());
    process.terminate();
    process.waitForFinished();
    return start;
}

int measure(const QString& folder) {
    const QTemporaryDir home;
    const QProcessEnvironment environment = environmentIn(home.path());
    // The toolkit keeps what it has compiled for the next start.
    const auto first = startOnce(folder, environment, false);
    std::vector<Start> measured;
    for (int i = 0; first && i < starts; ++i) {
        const auto start = startOnce(folder, environment, i % (starts / 3) == 0);
        if (!start) return 1;
        measured.push_back(*start);
    }
    if (!first) return 1;
    std::sort(measured.begin(), measured.end(),
              [](const Start& a, const Start& b) { return a.milliseconds < b.milliseconds; });
    const auto most = [&](auto figure) {
        int result = 0;
        for (const Start& start : measured) result = std::max(result, figure(start));
        return result;
    };
    std::printf("first start %.0f ms; %d further: median %.0f ms, worst %.0f ms\n", first->milliseconds, starts,
                measured[measured.size() / 2].milliseconds, measured.back().milliseconds);
    std::printf("resident at most: filled %d MB (proportional %d), %d s later %d MB (proportional %d)\n",
                most([](const Start& start) { return start.filled.resident; }),
                most([](const Start& start) { return start.filled.proportional; }), static_cast<int>(rest.count()),
                most([](const Start& start) { return start.rested.resident; }),
                most([](const Start& start) { return start.rested.proportional; }));
    return 0;
}

}  // namespace

int main(int argc, char** argv) {
    const QTemporaryDir own;
    const fs::path sample = fs::path(own.path().toStdString()) / "sample";
    const fs::path folder = argc > 1 ? fs::path(argv[1]) : sample;
    if (argc < 2 && !prepare(folder)) return 1;
    if (!import(folder)) {
        std::fprintf(stderr, "%s cannot be imported\n", folder.c_str());
        return 1;
    }
    return measure(QString::fromStdString(folder.string()));
}
