#include "host/workbench/ConnectionBar.h"

#include <QHBoxLayout>
#include <QLabel>

#include "host/workbench/LinesLabel.h"
#include "host/workbench/Words.h"
#include "platform/widgets/Colours.h"

namespace velmora {

namespace {

constexpr int kLampMargin = 6;
constexpr double kLampEnlargement = 1.25;
constexpr int kLines = 3;  // the longest sentences have room, and nothing moves when they come

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

ConnectionBar::ConnectionBar() : lamp_(new QLabel), text_(new LinesLabel("situationLabel", kLines)) {
    lamp_->setObjectName("lampLabel");
    lamp_->setTextFormat(Qt::PlainText);
    lamp_->setMargin(kLampMargin);
    lamp_->setAlignment(Qt::AlignCenter);
    QFont large = font();
    large.setBold(true);
    large.setPointSizeF(large.pointSizeF() * kLampEnlargement);
    lamp_->setFont(large);
    lamp_->setAccessibleName(Words::tr("State of the connection"));
    auto* const row = new QHBoxLayout(this);
    row->setContentsMargins(0, 0, 0, 0);
    row->addWidget(lamp_, 0, Qt::AlignVCenter);
    row->addWidget(text_, 1, Qt::AlignVCenter);
}

void ConnectionBar::show(const Situation& situation) {
    paintWith(*lamp_, signalOf(situation.lamp));
    lamp_->setText(situation.word);
    text_->say(situation.text);
}

void ConnectionBar::showWaiting(const QString& what) {
    show({Lamp::waiting, Words::tr("WAITING"), what});
    repaint();
}

}  // namespace velmora
