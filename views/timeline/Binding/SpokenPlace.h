#pragma once

#include <QPointer>
#include <QQuickItem>
#include <QString>
#include <cstdint>

namespace korvane {

/// What assistive technology hears of a strip: a slider over its entries, whose name is the moment under the mark. The
/// properties of its interface file's root carry it; one that the root does not have is left out. Main thread only.
class SpokenPlace {
  public:
    struct Place {
        std::int64_t index = 0;
        /// Of the live entry.
        std::int64_t last = 0;
        /// In words; empty for a moment that is not known.
        QString time;
        bool isLive = false;
        bool isRecorded = false;
        /// The nearest event in words; empty for none.
        QString event;
    };

    void setItem(QQuickItem* root) { root_ = root; }
    void tell(const Place& place);

  private:
    QPointer<QQuickItem> root_;
};

}  // namespace korvane
