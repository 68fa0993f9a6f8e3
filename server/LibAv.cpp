#include "server/LibAv.h"

#include <array>

namespace korvane {

std::string avErrorText(int code) {
    std::array<char, AV_ERROR_MAX_STRING_SIZE> text{};
    av_strerror(code, text.data(), text.size());
    return text.data();
}

}  // namespace korvane
