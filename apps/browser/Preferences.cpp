#include "korvane/apps/browser/Preferences.h"

#include <QEvent>
#include <QGuiApplication>
#include <QLocale>
#include <QMetaEnum>
#include <QPalette>
#include <QStandardPaths>

#include "korvane/base/Log.h"

namespace korvane {

namespace {

constexpr const char* lookKey = "look";
constexpr const char* recentKey = "recentFolders";
constexpr qsizetype mostRecent = 8;
constexpr int halfBright = 128;  // of 255

}  // namespace

Preferences::Preferences(const QString& file, QObject* parent) : QObject(parent) {
    if (!file.isEmpty()) {
        file_ = std::make_unique<QSettings>(file, QSettings::IniFormat);
        for (const QString& key : file_->allKeys()) values_.insert(key, file_->value(key));
    }
    if (qApp) qApp->installEventFilter(this);
}

Preferences::~Preferences() = default;

QString Preferences::usualFile() {
    return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation) +
           QStringLiteral("/korvane-browser.conf");
}

bool Preferences::hasTwelveHours() const {
    const QString pattern = QLocale::system().timeFormat(QLocale::ShortFormat);
    return read("hasTwelveHours", pattern.contains(QLatin1Char('a'), Qt::CaseInsensitive));
}

QStringList Preferences::recentFolders() const {
    return values_.value(QLatin1String(recentKey)).toStringList().mid(0, mostRecent);
}

void Preferences::addRecentFolder(const QString& path) {
    QStringList folders = recentFolders();
    folders.removeAll(path);
    folders.prepend(path);
    write(recentKey, folders.mid(0, mostRecent));
}

Preferences::Look Preferences::look() const {
    bool isKnown = false;
    const QByteArray name = values_.value(QLatin1String(lookKey)).toString().toLatin1();
    const int value = QMetaEnum::fromType<Look>().keyToValue(name.constData(), &isKnown);
    return isKnown ? static_cast<Look>(value) : Look::System;
}

void Preferences::setLook(Look look) {
    const char* const name = QMetaEnum::fromType<Look>().valueToKey(static_cast<int>(look));
    if (name) write(lookKey, QString::fromLatin1(name));
}

bool Preferences::isDark() const {
    if (look() != Look::System) return look() == Look::Dark;
    return QGuiApplication::palette().color(QPalette::Window).lightness() < halfBright;
}

bool Preferences::eventFilter(QObject* watched, QEvent* event) {
    if (event->type() == QEvent::ApplicationPaletteChange && watched == qApp && look() == Look::System) emit changed();
    return QObject::eventFilter(watched, event);
}

bool Preferences::read(const char* key, bool fallback) const {
    const QString text = values_.value(QLatin1String(key)).toString();
    if (text == QLatin1String("true")) return true;
    return text == QLatin1String("false") ? false : fallback;
}

void Preferences::write(const char* key, const QVariant& value) {
    const QString name = QLatin1String(key);
    if (values_.value(name) == value) return;
    values_.insert(name, value);
    if (file_) {
        file_->setValue(name, value);
        file_->sync();
        if (file_->status() != QSettings::NoError && !std::exchange(isFileFaulty_, true))
            logError("Preferences", "the file cannot be written, so the settings last until the end");
    }
    emit changed();
}

}  // namespace korvane
