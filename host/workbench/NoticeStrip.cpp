#include "host/workbench/NoticeStrip.h"

#include <QVBoxLayout>
#include <utility>

#include "host/workbench/Banner.h"
#include "host/workbench/LinesLabel.h"
#include "host/workbench/Words.h"

namespace velmora {

namespace {

constexpr int kLines = 2;

}  // namespace

NoticeStrip::NoticeStrip(std::function<void()> disarm, std::function<void()> apply)
    : armed_(new Banner("armed", kLines, Words::tr("Disarm\u2026"), kWaitingSignal, std::move(disarm))),
      edited_(new Banner("edited", kLines, Words::tr("Apply"), kWaitingSignal, std::move(apply))),
      hint_(new LinesLabel("hintLabel", kLines)),
      doubts_(new LinesLabel("doubtsLabel", kLines)),
      standstill_(new LinesLabel("standstillLabel", kLines)) {
    auto* const rows = new QVBoxLayout(this);
    rows->setContentsMargins(0, 0, 0, 0);
    for (QWidget* const notice : std::initializer_list<QWidget*>{armed_, edited_, hint_, doubts_, standstill_}) {
        rows->addWidget(notice);
        notice->hide();
    }
    setFixedHeight(armed_->sizeHint().height());
}

void NoticeStrip::show(const Notices& notices) {
    bool isTaken = false;
    const auto say = [&isTaken](auto* notice, const QString& text) {
        notice->say(text);
        notice->setVisible(!std::exchange(isTaken, isTaken || !text.isEmpty()) && !text.isEmpty());
    };
    say(armed_, notices.armed);
    say(edited_, notices.edited);
    say(hint_, notices.hint);
    say(doubts_, notices.doubts);
    say(standstill_, notices.standstill);
}

}  // namespace velmora
