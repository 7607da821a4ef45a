// A strip above the views for what a person has to know before anything else. It always takes the same room, so that
// nothing moves under the pointer, and shows the most important of what there is.
#pragma once

#include <QWidget>
#include <functional>

namespace velmora {

class Banner;
class LinesLabel;

class NoticeStrip final : public QWidget {
  public:
    // In the order of their importance; "" for nothing.
    struct Notices {
        QString armed;
        QString edited;
        QString hint;
        QString doubts;
        QString standstill;
    };

    NoticeStrip(std::function<void()> disarm, std::function<void()> apply);

    void show(const Notices& notices);

  private:
    Banner* const armed_;
    Banner* const edited_;
    LinesLabel* const hint_;
    LinesLabel* const doubts_;
    LinesLabel* const standstill_;
};

}  // namespace velmora
