#include "korvane/base/Log.h"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    // Bad input is told of in the log, which would cost more than reading it.
    korvane::setLogSink([](std::string_view) {});
    return 0;
}
