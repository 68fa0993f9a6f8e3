#include "korvane/apps/browser/StatusText.h"

#include <QLocale>

#include "korvane/client/Status.h"

namespace korvane {

QString statusText(std::int32_t status) {
    switch (status) {
        case StatusSuccess:
            return QStringLiteral("ready");
        case StatusTransportFailed:
            return QStringLiteral("the service cannot be reached");
        case StatusTimedOut:
            return QStringLiteral("the service does not answer");
        case StatusInsecure:
            return QStringLiteral("the service's certificate is not trusted");
        case StatusMalformedReply:
        case StatusUnexpectedReply:
        case StatusReplyTooLarge:
            return QStringLiteral("the service gave an answer that makes no sense");
        case StatusClosed:
            return QStringLiteral("the connection was closed");
        case StatusTokenExpired:
            return QStringLiteral("the token has expired");
        case StatusTokenSize:
        case StatusTokenEncoding:
        case StatusTokenFormat:
        case StatusTokenKeys:
            return QStringLiteral("the token cannot be read");
        case 401:
            return QStringLiteral("the token is not accepted");
        case 403:
            return QStringLiteral("the token does not open this camera");
        case 404:
            return QStringLiteral("the service does not know this camera");
        default:
            return status >= 500 ? QStringLiteral("the service has failed")
                                 : QStringLiteral("the service refuses the request");
    }
}

QString deletionFault(std::int32_t status) {
    if (status == 404) return QStringLiteral("the service does not know this event any more");
    if (status == 401 || status == 403) return QStringLiteral("the service does not allow it");
    return statusText(status);
}

QString sentence(QString text) {
    if (!text.isEmpty()) text[0] = text[0].toUpper();
    return text;
}

QString countText(std::int64_t count, const QString& noun) {
    static const QLocale english(QLocale::English);
    const QString text = english.toString(static_cast<qlonglong>(count)) + QLatin1Char(' ') + noun;
    return count == 1 ? text : text + QLatin1Char('s');
}

namespace {

QString nameInWords(const std::string& name) {
    if (name == "record_segment") return QStringLiteral("Recording");
    QString words = QString::fromStdString(name).replace(QLatin1Char('_'), QLatin1Char(' ')).simplified();
    if (!words.isEmpty()) words[0] = words[0].toUpper();
    return words;
}

}  // namespace

QString eventText(const ScrubberEvent::Fields& event) {
    if (event.childs.empty()) return nameInWords(event.name.value_or(std::string()));
    QStringList names;
    for (const auto& child : event.childs) {
        const QString name = child ? nameInWords(child->name().value_or(std::string())) : QString();
        if (!name.isEmpty() && !names.contains(name)) names << name;
    }
    return names.join(QStringLiteral(", "));
}

QString durationText(std::int64_t duration) {
    const std::int64_t seconds = duration / 1000;
    const std::int64_t minutes = seconds / 60;
    const std::int64_t hours = minutes / 60;
    if (hours >= 48) return QStringLiteral("%1 days").arg(hours / 24);
    if (hours > 0 && minutes % 60 == 0) return QStringLiteral("%1 h").arg(hours);
    if (hours > 0) return QStringLiteral("%1 h %2 min").arg(hours).arg(minutes % 60);
    return minutes > 0 ? QStringLiteral("%1 min").arg(minutes) : QStringLiteral("%1 s").arg(seconds);
}

}  // namespace korvane
