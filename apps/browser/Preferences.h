#pragma once

#include <QtQml/qqmlregistration.h>
#include <QObject>
#include <QSettings>
#include <QString>
#include <QStringList>
#include <memory>

#include "korvane/apps/browser/Palette.h"

namespace korvane {

/// What the person has chosen, kept from one start to the next in a file. What the file does not hold, or holds with a
/// value that makes no sense, has its default. Main thread only.
class Preferences : public QObject {
    Q_OBJECT
    QML_ELEMENT
    QML_UNCREATABLE("made by the application")
    Q_PROPERTY(bool hasTwelveHours READ hasTwelveHours WRITE setHasTwelveHours NOTIFY changed)
    Q_PROPERTY(Look look READ look WRITE setLook NOTIFY changed)
    Q_PROPERTY(bool isDark READ isDark NOTIFY changed)

  public:
    enum class Look { System, Light, Dark };
    Q_ENUM(Look)

    /// Without a file's name all is forgotten at the end. A file that cannot be written is told once in the log.
    explicit Preferences(const QString& file = {}, QObject* parent = nullptr);
    ~Preferences() override;

    /// The person's own file.
    static QString usualFile();

    bool groups() const { return read("groups", false); }
    void setGroups(bool groups) { write("groups", groups); }
    bool playsOn() const { return read("playsOn", false); }
    void setPlaysOn(bool playsOn) { write("playsOn", playsOn); }
    bool showsRecordings() const { return read("showsRecordings", false); }
    void setShowsRecordings(bool showsRecordings) { write("showsRecordings", showsRecordings); }
    bool isMuted() const { return read("muted", false); }
    void setMuted(bool muted) { write("muted", muted); }
    /// By default as the device's language has it.
    bool hasTwelveHours() const;
    void setHasTwelveHours(bool hasTwelveHours) { write("hasTwelveHours", hasTwelveHours); }
    /// Absolute paths of the folders that were opened last, the newest first; no more than eight.
    QStringList recentFolders() const;
    void addRecentFolder(const QString& path);
    Look look() const;
    void setLook(Look look);

    /// What the look comes to; the system's as it is at the moment.
    bool isDark() const;
    Palette palette() const { return isDark() ? Palette::dark() : Palette::light(); }

  signals:
    void changed();

  protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

  private:
    bool read(const char* key, bool fallback) const;
    void write(const char* key, const QVariant& value);

    std::unique_ptr<QSettings> file_;
    QVariantMap values_;
    bool isFileFaulty_ = false;
};

}  // namespace korvane
