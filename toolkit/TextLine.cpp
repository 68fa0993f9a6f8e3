#include "korvane/toolkit/TextLine.h"

namespace korvane {

QFont TextLine::font() const {
    QFont font = string_.font;
    font.setLetterSpacing(QFont::AbsoluteSpacing, string_.kerning);
    return font;
}

const QStaticText& TextLine::layout() const {
    if (!layout_) {
        QString text = string_.text;
        text.replace(u'\n', u' ');
        layout_.emplace(text);
        layout_->setTextFormat(Qt::PlainText);
        layout_->prepare({}, font());
    }
    return *layout_;
}

Size TextLine::size() const {
    if (string_.text.isEmpty()) return {};
    const QSizeF size = layout().size();
    return {size.width(), size.height()};
}

}  // namespace korvane
