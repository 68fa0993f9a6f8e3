#include "korvane/film/worker/LibAv.h"

#include <array>

namespace korvane {

void silenceLibAv() {
    av_log_set_level(AV_LOG_QUIET);
}

std::string avErrorText(int code) {
    std::array<char, AV_ERROR_MAX_STRING_SIZE> text{};
    av_strerror(code, text.data(), text.size());
    return text.data();
}

}  // namespace korvane
