#include "settings/SwitcherPopUpButton.h"

#include <QAbstractItemView>
#include <QKeyEvent>
#include <QStylePainter>
#include <QStyledItemDelegate>
#include <QWheelEvent>
#include <algorithm>
#include <array>

#include "platform/widgets/DisplayText.h"

namespace velmora {

SwitcherPopUpButton::SwitcherPopUpButton(QWidget* parent) : QComboBox(parent) {
    // Works around Qt 6.4, where some styles draw the list as a menu and ampersands vanish: this delegate draws plain
    // text in every style.
    setItemDelegate(new QStyledItemDelegate(this));
}

void SwitcherPopUpButton::removeAllItems() {
    hidePopup();
    clear();
    titles_.clear();
}

void SwitcherPopUpButton::addItemWithTitle(const std::string& title) {
    titles_.push_back(title);
    addItem(displayText(title));
    setItemData(count() - 1, toolTipText(title), Qt::ToolTipRole);
}

void SwitcherPopUpButton::selectItemAtIndex(std::int64_t index) {
    const bool exists = index >= 0 && static_cast<std::uint64_t>(index) < titles_.size();
    showSelection(exists ? static_cast<int>(index) : -1, titles_.empty() ? "No switch server found" : QString());
}

void SwitcherPopUpButton::selectItemWithTitle(const std::string& title) {
    if (!selectAvailableItemWithTitle(title)) showSelection(-1, displayText(title) + " (not available)");
}

bool SwitcherPopUpButton::selectAvailableItemWithTitle(const std::string& title) {
    const auto found = std::find(titles_.begin(), titles_.end(), title);
    if (found == titles_.end()) return false;
    showSelection(static_cast<int>(found - titles_.begin()), {});
    return true;
}

void SwitcherPopUpButton::showSelection(int index, const QString& textWithoutSelection) {
    setPlaceholderText(index < 0 ? textWithoutSelection : QString());
    setCurrentIndex(index);
    setAccessibleDescription(placeholderText());
    const QString shown = index < 0 ? placeholderText() : currentText();
    setToolTip(toolTipText(shown.toStdString()));
    update();
}

std::optional<std::string> SwitcherPopUpButton::titleOfSelectedItem() const {
    const int index = currentIndex();
    if (index < 0 || static_cast<std::size_t>(index) >= titles_.size()) return std::nullopt;
    return titles_[static_cast<std::size_t>(index)];
}

// As the base class paints, but with a long text elided, and the text without a selection as readable as any other.
void SwitcherPopUpButton::paintEvent(QPaintEvent*) {
    QStylePainter painter(this);
    QStyleOptionComboBox option;
    initStyleOption(&option);
    painter.drawComplexControl(QStyle::CC_ComboBox, option);
    const QRect field = style()->subControlRect(QStyle::CC_ComboBox, &option, QStyle::SC_ComboBoxEditField, this);
    const QString text = currentIndex() < 0 ? placeholderText() : currentText();
    option.currentText = option.fontMetrics.elidedText(text, Qt::ElideRight, field.width() - 4);
    painter.drawControl(QStyle::CE_ComboBoxLabel, option);
}

void SwitcherPopUpButton::wheelEvent(QWheelEvent* event) {
    event->ignore();
}

void SwitcherPopUpButton::keyPressEvent(QKeyEvent* event) {
    static constexpr std::array kOpeningKeys{Qt::Key_Up,   Qt::Key_Down, Qt::Key_PageUp, Qt::Key_PageDown,
                                             Qt::Key_Home, Qt::Key_End,  Qt::Key_Space};
    if (std::find(kOpeningKeys.begin(), kOpeningKeys.end(), event->key()) != kOpeningKeys.end()) {
        showPopup();
        return;
    }
    const bool isPrintable = !event->text().isEmpty() && event->text().front().isPrint();
    const bool isCommand = event->modifiers() & (Qt::ControlModifier | Qt::AltModifier | Qt::MetaModifier);
    if (!isPrintable) {
        QComboBox::keyPressEvent(event);
    } else if (isCommand) {
        event->ignore();  // a shortcut that nobody took; the base class would pick the item of that letter
    } else if (count() > 0) {
        showPopup();
        view()->keyboardSearch(event->text());
    }
}

}  // namespace velmora
