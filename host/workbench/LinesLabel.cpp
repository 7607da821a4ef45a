#include "host/workbench/LinesLabel.h"

#include <QPainter>
#include <QTextLayout>

#include "host/workbench/NumberedText.h"

namespace velmora {

LinesLabel::LinesLabel(const QString& objectName, int lines) : lines_(lines) {
    setObjectName(objectName);
    setTextFormat(Qt::PlainText);
    setWordWrap(true);
    setTextInteractionFlags(Qt::TextSelectableByMouse);
    setLines(lines);
}

void LinesLabel::setLines(int lines) {
    lines_ = lines;
    setFixedHeight(lines * fontMetrics().lineSpacing());
    followRoom();
}

void LinesLabel::say(const QString& text) {
    if (text == this->text()) return;
    setText(text);
    followRoom();
}

void LinesLabel::followRoom() {
    setToolTip(fits() ? QString() : toolTipOf(text()));
}

void LinesLabel::resizeEvent(QResizeEvent* event) {
    QLabel::resizeEvent(event);
    followRoom();
}

void LinesLabel::paintEvent(QPaintEvent* event) {
    if (fits()) {
        QLabel::paintEvent(event);
        return;
    }
    QString text = this->text();
    QTextLayout layout(text.replace('\n', QChar::LineSeparator), font());
    layout.beginLayout();
    QPainter painter(this);
    const QFontMetrics metrics = fontMetrics();
    for (int number = 0; number < lines_; ++number) {
        QTextLine line = layout.createLine();
        if (!line.isValid()) break;
        line.setLineWidth(width());
        const bool isLast = number == lines_ - 1;
        QString shown = isLast ? text.mid(line.textStart()) : text.mid(line.textStart(), line.textLength());
        shown.replace(QChar::LineSeparator, ' ');
        painter.drawText(0, number * metrics.lineSpacing() + metrics.ascent(),
                         isLast ? metrics.elidedText(shown, Qt::ElideRight, width()) : shown);
    }
    layout.endLayout();
}

}  // namespace velmora
