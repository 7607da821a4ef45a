#include "host/workbench/Banner.h"

#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <utility>

namespace velmora {

Banner::Banner(const QString& name, const QString& button, const Signal& signal, std::function<void()> pushed)
    : text_(new QLabel), button_(new QPushButton(button)) {
    setObjectName(name + "Banner");
    text_->setObjectName(name + "Label");
    text_->setTextFormat(Qt::PlainText);
    text_->setWordWrap(true);
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
    hide();
}

void Banner::say(const QString& text) {
    if (text_->text() != text) text_->setText(text);
    setVisible(!text.isEmpty());
}

}  // namespace velmora
