#include "host/workbench/Banner.h"

#include <QHBoxLayout>
#include <QPushButton>
#include <utility>

#include "host/workbench/LinesLabel.h"

namespace velmora {

Banner::Banner(const QString& name, int lines, const QString& button, const Signal& signal,
               std::function<void()> pushed)
    : text_(new LinesLabel(name + "Label", lines)), button_(new QPushButton(button)) {
    setObjectName(name + "Banner");
    button_->setObjectName(name + "Button");
    button_->setAutoDefault(false);
    connect(button_, &QPushButton::clicked, this, std::move(pushed));
    auto* const row = new QHBoxLayout(this);
    row->setContentsMargins(8, 4, 8, 4);
    row->addWidget(text_, 1);
    row->addWidget(button_);
    paintWith(*this, signal);
    const QPalette usual = button_->palette();
    paintWith(*text_, signal);
    button_->setPalette(usual);
}

void Banner::say(const QString& text) {
    text_->say(text);
}

}  // namespace velmora
