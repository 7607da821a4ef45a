#include "host/workbench/panel/ControlBar.h"

#include <QHBoxLayout>
#include <QMessageBox>
#include <QPushButton>
#include <QRadioButton>
#include <QResizeEvent>
#include <QShortcut>

#include "platform/widgets/DisplayText.h"

namespace velmora {

namespace {

// Of a title within a button, in characters.
constexpr int kTitleWidth = 16;

}  // namespace

ControlBar::ControlBar(RoutingState& state)
    : state_(state),
      halves_(new QHBoxLayout(this)),
      direct_(new QRadioButton("Direct")),
      preset_(new QRadioButton("Preset")) {
    halves_->setContentsMargins(4, 0, 4, 4);
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);  // the arrangement follows the width
    half_ = new QHBoxLayout;
    halves_->addLayout(half_);
    direct_->setToolTip("A source is routed as soon as it is chosen");
    preset_->setToolTip("A chosen source waits for TAKE");
    direct_->setObjectName("directButton");
    preset_->setObjectName("presetButton");
    half_->addWidget(direct_);
    half_->addWidget(preset_);
    connect(preset_, &QRadioButton::toggled, this, [this](bool isOn) {
        if (isOn != state_.isPreset()) state_.setPreset(isOn);
    });
    take_ = add("TAKE", "Route the source that waits (F12)", [this] { state_.take(); });
    auto* const key = new QShortcut(Qt::Key_F12, this, [this] { take_->click(); });
    key->setContext(Qt::WindowShortcut);
    key->setAutoRepeat(false);
    previous_ = add("PREVIOUS", {}, [this] { state_.takePrevious(); });
    half_->addStretch();
    half_ = new QHBoxLayout;
    halves_->addLayout(half_);
    default_ = add("DEFAULT", "Route the default of the selected destination", [this] { state_.takeDefault(); });
    add("ALL TO DEFAULT\u2026", "Route the defaults of all destinations, after a question", [this] {
        askForDefaults();
    })->setObjectName("allDefaultsButton");
    lock_ = add("LOCK", "Keep the selected destination from being routed in this window; other panels can still route",
                [this] { state_.setLocked(state_.destination(), lock_->isChecked()); });
    lock_->setCheckable(true);
    exchange_ =
        add("EXCHANGE\u2026", "Exchange the sources of the selected destination and the one that is chosen next",
            [this] { state_.setExchanging(exchange_->isChecked()); });
    exchange_->setCheckable(true);
    exchange_->setObjectName("exchangeButton");
    half_->addStretch();
    state.observe([this] { followState(); });
    followState();
}

QPushButton* ControlBar::add(const char* name, const QString& toolTip, const std::function<void()>& action) {
    auto* const button = new QPushButton(name);
    button->setObjectName(QString(name).toLower() + "Button");
    button->setAccessibleName(name);
    button->setToolTip(toolTip);
    button->setAutoDefault(false);
    connect(button, &QPushButton::clicked, this, action);
    half_->addWidget(button);
    return button;
}

void ControlBar::followState() {
    const bool hasDestination = !state_.destination().empty();
    (state_.isPreset() ? preset_ : direct_)->setChecked(true);
    take_->setEnabled(state_.waiting().has_value());
    default_->setEnabled(state_.defaultOf(state_.destination()).has_value());
    lock_->setEnabled(hasDestination);
    lock_->setChecked(state_.isLocked(state_.destination()));
    exchange_->setEnabled(hasDestination);
    exchange_->setChecked(state_.isExchanging());
    showPrevious();
}

void ControlBar::showPrevious() {
    const auto value = state_.previous();
    const QString title = value ? displayText(*value) : QString();
    const int width = kTitleWidth * fontMetrics().averageCharWidth();
    const QString elided = fontMetrics().elidedText(title, Qt::ElideRight, width).replace('&', "&&");
    previous_->setText(value ? "PREVIOUS: " + elided : QString("PREVIOUS"));
    previous_->setEnabled(value.has_value());
    previous_->setToolTip(value ? toolTipText("Route what the destination had before: " + *value) : QString());
}

void ControlBar::askForDefaults() {
    const auto routes = state_.routesToDefaults();
    if (routes.empty()) {
        state_.session().setOutcome(
            "There is nothing to route: all destinations are locked, or cannot have their defaults.");
        return;
    }
    const QString question = QString("Route %1 destination%2 to %3 default%2? Those that are locked stay as they are.")
                                 .arg(routes.size())
                                 .arg(routes.size() == 1 ? "" : "s", routes.size() == 1 ? "its" : "their");
    const auto answer = QMessageBox::question(this, "All to default", question, QMessageBox::Yes | QMessageBox::Cancel,
                                              QMessageBox::Cancel);
    // Asked anew, because routes may have changed while the question was there.
    if (answer == QMessageBox::Yes) state_.route(state_.routesToDefaults());
}

void ControlBar::resizeEvent(QResizeEvent* event) {
    constexpr int kNarrowInCharacters = 120;
    const bool isNarrow = event->size().width() < kNarrowInCharacters * fontMetrics().averageCharWidth();
    halves_->setDirection(isNarrow ? QBoxLayout::TopToBottom : QBoxLayout::LeftToRight);
    QWidget::resizeEvent(event);
}

}  // namespace velmora
