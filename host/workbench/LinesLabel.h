// A text that always takes the room of so many lines: nothing moves under the pointer when it changes.
#pragma once

#include <QLabel>

namespace velmora {

// Plain text. What does not fit is cut, and the tool tip has all of it.
class LinesLabel final : public QLabel {
  public:
    LinesLabel(const QString& objectName, int lines);

    void setLines(int lines);
    void say(const QString& text);

  protected:
    void paintEvent(QPaintEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;

  private:
    bool fits() const { return heightForWidth(width()) <= height(); }
    void followRoom();

    int lines_;
};

}  // namespace velmora
