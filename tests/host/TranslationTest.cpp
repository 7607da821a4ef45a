// The workbench in German.
#include <QAbstractButton>
#include <QAction>
#include <QSet>

#include "tests/host/RoutingFixture.h"

namespace velmora::test {

namespace {

class German : public RoutingFixture {
  protected:
    German() : RoutingFixture("Panel") {}

    // What a person reads in the window, but for the plugin's own view and what comes from the matrix.
    QSet<QString> texts() const {
        const auto* const settings = host.plugin().settingsView();
        QSet<QString> texts;
        for (const QWidget* const widget : window->findChildren<QWidget*>()) {
            if (widget == settings || settings->findChildren<QWidget*>().contains(widget)) continue;
            texts << widget->toolTip() << widget->accessibleName();
            if (const auto* const button = qobject_cast<const QAbstractButton*>(widget)) texts << button->text();
            if (const auto* const label = qobject_cast<const QLabel*>(widget)) texts << label->text();
            if (const auto* const field = qobject_cast<const QLineEdit*>(widget)) texts << field->placeholderText();
            const auto* const table = qobject_cast<const QTableView*>(widget);
            const auto* const model = table != nullptr ? table->model() : nullptr;
            if (model == nullptr || table->objectName() == "crosspointTable") continue;
            for (int column = 0; column < model->columnCount(); ++column) {
                texts << model->headerData(column, Qt::Horizontal).toString();
            }
        }
        for (const QAction* const action : window->findChildren<QAction*>()) {
            texts << action->text();
        }
        return texts;
    }
    void open(const QLocale& locale) {
        window = nullptr;
        translation = std::make_unique<Translation>(locale);
        window = std::make_unique<WorkbenchWindow>(host, file);
        window->show();
    }

    std::unique_ptr<Translation> translation;
};

}  // namespace

TEST_F(German, isEverywhere) {
    session().stop();
    open(QLocale::c());
    const auto before = texts();
    open(QLocale("de"));
    auto same = texts() & before;
    for (const char* const word : {"", "TAKE", "Name", "Pl&ugin", "&Salvos", "Scroll Left", "Scroll Right"}) {
        same.remove(word);
    }
    EXPECT_TRUE(same.isEmpty()) << same.values().join(" | ").toStdString();
    EXPECT_EQ(visible<QLabel>("lampLabel")->text(), "GESTOPPT");
    EXPECT_TRUE(session().start(false) && comesUp());
    EXPECT_TRUE(runMainLoopUntil(
        [&] { return visible<QLabel>("situationLabel")->text().endsWith(": 4 Attribute, 16 Eing\u00E4nge."); }));
    QTimer::singleShot(0, window.get(), [] {
        auto* const question = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        ASSERT_NE(question, nullptr);
        EXPECT_TRUE(question->text().startsWith("4 Ziele auf ihre Vorgaben schalten?"));
        question->button(QMessageBox::Cancel)->click();
    });
    press("allDefaultsButton");
}

}  // namespace velmora::test
