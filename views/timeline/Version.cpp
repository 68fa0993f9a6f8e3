#include "korvane/views/timeline/Version.h"

extern "C" {
const double korvanesdktimelineviewVersionNumber = 2.087;
const unsigned char korvanesdktimelineviewVersionString[] = "korvanesdktimelineview 2.0.87_20220310";
}
