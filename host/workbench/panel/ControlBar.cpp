#include "host/workbench/panel/ControlBar.h"

#include <QHBoxLayout>
#include <QMessageBox>
#include <QPushButton>
#include <QRadioButton>
#include <QResizeEvent>
#include <QShortcut>

#include "host/workbench/NumberedText.h"
#include "host/workbench/Obstacle.h"
#include "host/workbench/Words.h"
#include "platform/widgets/Colours.h"
#include "platform/widgets/DisplayText.h"

namespace velmora {

namespace {

// Of a title within a button, in characters.
constexpr int kTitleWidth = 16;
constexpr const char* kSelectFirst = QT_TRANSLATE_NOOP("Words", "Select a destination first");

}  // namespace

ControlBar::ControlBar(RoutingState& state)
    : state_(state),
      halves_(new QHBoxLayout(this)),
      direct_(new QRadioButton(Words::tr("Direct"))),
      preset_(new QRadioButton(Words::tr("Preset"))) {
    halves_->setContentsMargins(4, 0, 4, 4);
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);  // the arrangement follows the width
    half_ = new QHBoxLayout;
    halves_->addLayout(half_);
    direct_->setToolTip(Words::tr("A source is routed as soon as it is chosen"));
    preset_->setToolTip(Words::tr("A chosen source waits for TAKE"));
    direct_->setObjectName("directButton");
    preset_->setObjectName("presetButton");
    showFrame(*direct_);
    showFrame(*preset_);
    half_->addWidget(direct_);
    half_->addWidget(preset_);
    connect(preset_, &QRadioButton::toggled, this, [this](bool isOn) {
        if (isOn != state_.isPreset()) state_.setPreset(isOn);
    });
    take_ =
        add("takeButton", Words::tr("TAKE"), Words::tr("Route the source that waits (F12)"), [this] { state_.take(); });
    auto* const key = new QShortcut(Qt::Key_F12, this, [this] { take_->click(); });
    key->setContext(Qt::WindowShortcut);
    key->setAutoRepeat(false);
    previous_ = add("previousButton", Words::tr("PREVIOUS"), {}, [this] { state_.takePrevious(); });
    half_->addStretch();
    half_ = new QHBoxLayout;
    halves_->addLayout(half_);
    default_ = add("defaultButton", Words::tr("DEFAULT"), Words::tr("Route the default of the selected destination"),
                   [this] { state_.takeDefault(); });
    allDefaults_ =
        add("allDefaultsButton", Words::tr("ALL TO DEFAULT\u2026"),
            Words::tr("Route the defaults of all destinations, after a question"), [this] { askForDefaults(); });
    lock_ =
        add("lockButton", Words::tr("LOCK"),
            Words::tr("Keep the selected destination from being routed in this window; other panels can still route"),
            [this] { state_.setLocked(state_.destination(), lock_->isChecked()); });
    lock_->setCheckable(true);
    exchange_ = add("exchangeButton", Words::tr("EXCHANGE\u2026"),
                    Words::tr("Exchange the sources of the selected destination and the one that is chosen next"),
                    [this] { state_.setExchanging(exchange_->isChecked()); });
    exchange_->setCheckable(true);
    half_->addStretch();
    auto* const cancel = new QShortcut(Qt::Key_Escape, this, [this] { state_.setExchanging(false); });
    connect(exchange_, &QPushButton::toggled, cancel, &QShortcut::setEnabled);
    cancel->setEnabled(false);
    // All values that are read at once lead to one look.
    news_.setSingleShot(true);
    connect(&news_, &QTimer::timeout, this, &ControlBar::followState);
    connect(&state.attributes(), &QAbstractItemModel::dataChanged, &news_, [this] { news_.start(0); });
    state.observe([this] { followState(); });
    followState();
}

QPushButton* ControlBar::add(const char* name, const QString& text, const QString& toolTip,
                             const std::function<void()>& action) {
    auto* const button = new QPushButton(text);
    button->setObjectName(name);
    button->setAccessibleName(text);
    button->setWhatsThis(toolTip);
    button->setAutoDefault(false);
    connect(button, &QPushButton::clicked, this, action);
    half_->addWidget(button);
    return button;
}

void ControlBar::followState() {
    const bool hasDestination = !state_.destination().empty();
    (state_.isPreset() ? preset_ : direct_)->setChecked(true);
    const QString general = state_.session().obstacle();
    const QString selectFirst = Words::tr(kSelectFirst);
    const auto follow = [&general](QWidget& button, bool isPossible, const QString& obstacle) {
        showObstacle(button, !general.isEmpty() || isPossible ? general : obstacle);
    };
    follow(*take_, state_.waiting().has_value(), Words::tr("With Preset, choose a source first"));
    follow(*default_, state_.defaultOf(state_.destination()).has_value(),
           hasDestination ? Words::tr("The destination has no default") : selectFirst);
    follow(*allDefaults_, !state_.routesToDefaults().empty(),
           Words::tr("There is no destination with a default that is not locked"));
    follow(*lock_, hasDestination, selectFirst);
    lock_->setChecked(state_.isLocked(state_.destination()));
    follow(*exchange_, hasDestination, selectFirst);
    exchange_->setChecked(state_.isExchanging());
    showPrevious();
}

void ControlBar::showPrevious() {
    const auto value = state_.previous();
    const QString title = value ? displayText(*value) : QString();
    const int width = kTitleWidth * fontMetrics().averageCharWidth();
    const QString elided = fontMetrics().elidedText(title, Qt::ElideRight, width).replace('&', "&&");
    previous_->setText(value ? Words::tr("PREVIOUS: %1").arg(elided) : Words::tr("PREVIOUS"));
    const QString general = state_.session().obstacle();
    showObstacle(*previous_,
                 !general.isEmpty() || value ? general : Words::tr("It is not known what was there before"));
    if (previous_->isEnabled())
        previous_->setToolTip(
            toolTipOf(Words::tr("Route what the destination had before: %1").arg(displayText(*value))));
}

void ControlBar::askForDefaults() {
    const auto routes = state_.routesToDefaults();
    const QString question =
        Words::tr("Route %n destinations to their defaults? Those that are locked stay as they are.", nullptr,
                  static_cast<int>(routes.size()));
    const auto answer = QMessageBox::question(this, Words::tr("All to default"), question,
                                              QMessageBox::Yes | QMessageBox::Cancel, QMessageBox::Cancel);
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
