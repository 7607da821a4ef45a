#include "host/workbench/ConnectionBar.h"

#include <QHBoxLayout>
#include <QLabel>

#include "platform/widgets/Colours.h"

namespace velmora {

namespace {

constexpr int kLampMargin = 6;
constexpr double kLampEnlargement = 1.25;

const Signal& signalOf(Lamp lamp) {
    switch (lamp) {
        case Lamp::good:
            return kGoodSignal;
        case Lamp::waiting:
            return kWaitingSignal;
        case Lamp::bad:
            return kBadSignal;
        case Lamp::off:
            break;
    }
    return kOffSignal;
}

}  // namespace

ConnectionBar::ConnectionBar() : lamp_(new QLabel), text_(new QLabel) {
    lamp_->setObjectName("lampLabel");
    lamp_->setTextFormat(Qt::PlainText);
    lamp_->setMargin(kLampMargin);
    lamp_->setAlignment(Qt::AlignCenter);
    QFont large = font();
    large.setBold(true);
    large.setPointSizeF(large.pointSizeF() * kLampEnlargement);
    lamp_->setFont(large);
    lamp_->setAccessibleName("State of the connection");
    text_->setObjectName("situationLabel");
    text_->setTextFormat(Qt::PlainText);
    text_->setWordWrap(true);
    text_->setTextInteractionFlags(Qt::TextSelectableByMouse);
    auto* const row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->addWidget(lamp_, 0, Qt::AlignTop);
    row->addWidget(text_, 1);
}

void ConnectionBar::show(const Situation& situation) {
    paintWith(*lamp_, signalOf(situation.lamp));
    lamp_->setText(situation.word);
    text_->setText(situation.text);
}

void ConnectionBar::showWaiting(const QString& what) {
    show({Lamp::waiting, "WAITING", what});
    repaint();
}

}  // namespace velmora
