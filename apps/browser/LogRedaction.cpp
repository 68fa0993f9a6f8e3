#include "korvane/apps/browser/LogRedaction.h"

#include <QByteArray>
#include <QString>
#include <QtGlobal>
#include <cctype>
#include <cstdio>

namespace korvane {

namespace {

constexpr std::string_view key = "access=";

bool isTokenCharacter(char character) {
    const auto value = static_cast<unsigned char>(character);
    return std::isalnum(value) || std::string_view("-_.~%+").find(character) != std::string_view::npos;
}

void writeRedacted(QtMsgType type, const QMessageLogContext& context, const QString& message) {
    // What the toolkit tells its developers is of no use to the person.
    if (type == QtDebugMsg) return;
    const std::string line = redacted(qFormatLogMessage(type, context, message).toStdString());
    std::fprintf(stderr, "%s\n", line.c_str());
    std::fflush(stderr);
}

}  // namespace

std::string redacted(std::string_view text) {
    std::string result;
    while (!text.empty()) {
        const auto found = text.find(key);
        if (found == std::string_view::npos) break;
        result.append(text.substr(0, found + key.size())).append("...");
        text.remove_prefix(found + key.size());
        while (!text.empty() && isTokenCharacter(text.front())) text.remove_prefix(1);
    }
    return result.append(text);
}

void redactToolkitMessages() {
    qInstallMessageHandler(writeRedacted);
}

}  // namespace korvane
