#include "SettingsView.h"

#include <QApplication>

SettingsView::~SettingsView() {
    delete field_;
}

QWidget* SettingsView::widget(const Names& names) {
    if (qobject_cast<QApplication*>(QCoreApplication::instance()) == nullptr) return nullptr;
    if (field_ != nullptr) return field_;
    field_ = new QLineEdit;
    field_->setPlaceholderText("Names of the lamps, with commas between them");
    // The connection ends with the field, so it never outlives the plugin.
    QObject::connect(field_, &QLineEdit::editingFinished, field_, [this] {
        Names edited;
        for (const QString& name : field_->text().split(',', Qt::SkipEmptyParts)) {
            edited.push_back(name.trimmed().toStdString());
        }
        edited_(edited);
    });
    show(names);
    return field_;
}

void SettingsView::show(const Names& names) {
    if (field_ == nullptr) return;
    QStringList texts;
    for (const std::string& name : names) {
        texts << QString::fromStdString(name);
    }
    field_->setText(texts.join(", "));
}
