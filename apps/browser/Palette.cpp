#include "korvane/apps/browser/Palette.h"

namespace korvane {

// One accent, and greys that lean a little to blue.
Palette Palette::dark() {
    return {.window = QColor(0x0c0e11),
            .stage = QColor(Qt::black),
            .sheet = QColor(0x1b1f25),
            .raised = QColor(0x1b1f25),
            .hovered = QColor(0x252a32),
            .pressed = QColor(0x2f353e),
            .separator = QColor(0x1e2228),
            .text = QColor(0xeceef1),
            .secondary = QColor(0x9aa1ab),
            .faint = QColor(0x7e8690),
            .accent = QColor(0xe5484d),
            .fault = QColor(0xf5b94a),
            .focus = QColor(0x6ea8fe),
            .cell = QColor(0x16191e),
            .cellText = QColor(0xd6dadf),
            .cellIcon = QColor(0x9aa1ab),
            .segment = QColor(0x334257),
            .segmentIcon = QColor(0xf5b94a)};
}

// Small text keeps a contrast of 4.5 to 1 to what it stands on.
Palette Palette::light() {
    return {.window = QColor(0xf6f7f9),
            .stage = QColor(0x15181c),
            .sheet = QColor(0xffffff),
            .raised = QColor(0xe4e8ed),
            .hovered = QColor(0xdce1e7),
            .pressed = QColor(0xcbd1d9),
            .separator = QColor(0xdde1e6),
            .text = QColor(0x14171b),
            .secondary = QColor(0x4f5863),
            .faint = QColor(0x636c77),
            .accent = QColor(0xc92a30),
            .fault = QColor(0x8a5200),
            .focus = QColor(0x1a5fd0),
            .cell = QColor(0xe4e8ed),
            .cellText = QColor(0x23282f),
            .cellIcon = QColor(0x59626d),
            .segment = QColor(0xb4c6de),
            .segmentIcon = QColor(0x7a4a00)};
}

}  // namespace korvane
