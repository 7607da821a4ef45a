#include "host/workbench/HistoryPane.h"

#include <QHeaderView>
#include <QPlainTextEdit>
#include <QPushButton>
#include <QTableView>
#include <QVBoxLayout>
#include <utility>

#include "host/workbench/Words.h"
#include "platform/foundation/FileContents.h"
#include "platform/widgets/DisplayText.h"

namespace velmora {

namespace {

constexpr int kLogLines = 2000;
constexpr int kCellMargins = 16;

}  // namespace

HistoryPane::HistoryPane(WorkbenchSession& session, std::function<void()> save)
    : session_(session), history_([&session](const std::string& name) { return session.displayName(name); }) {
    setObjectName("historyPane");
    setDocumentMode(true);
    addTab(makeHistory(std::move(save)), Words::tr("Histor&y"));
    addTab(makeLog(), Words::tr("&Log"));
    session_.addListener(history_);
}

HistoryPane::~HistoryPane() {
    session_.removeListener(history_);
}

QWidget* HistoryPane::makeHistory(std::function<void()> save) {
    auto* const table = new QTableView;
    table->setObjectName("historyTable");
    table->setAccessibleName(Words::tr("Routes that have changed"));
    table->setModel(&history_);
    table->setSelectionBehavior(QAbstractItemView::SelectRows);
    table->setAlternatingRowColors(true);
    table->setTabKeyNavigation(false);
    table->setWordWrap(false);
    table->verticalHeader()->hide();
    table->verticalHeader()->setSectionResizeMode(QHeaderView::ResizeToContents);
    table->horizontalHeader()->setSectionResizeMode(QHeaderView::Stretch);
    // As wide as they will be: an empty table must not look otherwise than a full one.
    for (const auto& [column, widest] :
         {std::pair{RouteHistory::timeColumn, QString("00:00:00")}, {RouteHistory::byColumn, Words::tr("by others")}}) {
        table->horizontalHeader()->setSectionResizeMode(column, QHeaderView::Fixed);
        table->setColumnWidth(column, table->fontMetrics().horizontalAdvance(widest) + kCellMargins);
    }
    auto* const button = new QPushButton(Words::tr("Save as CSV\u2026"));
    button->setObjectName("saveHistoryButton");
    connect(button, &QPushButton::clicked, this, std::move(save));
    auto* const pane = new QWidget;
    auto* const rows = new QVBoxLayout(pane);
    rows->setContentsMargins(0, 0, 0, 0);
    rows->addWidget(table, 1);
    rows->addWidget(button, 0, Qt::AlignLeft);
    return pane;
}

QWidget* HistoryPane::makeLog() {
    log_ = new QPlainTextEdit;
    log_->setObjectName("logView");
    log_->setAccessibleName(Words::tr("Log"));
    log_->setReadOnly(true);
    log_->setTabChangesFocus(true);
    log_->setLineWrapMode(QPlainTextEdit::NoWrap);
    log_->setMaximumBlockCount(kLogLines);
    return log_;
}

Result<void> HistoryPane::saveHistory(const std::filesystem::path& file) const {
    return replaceFile(file, history_.commaSeparatedValues());
}

void HistoryPane::showLog(const LogFeed::Lines& lines) {
    for (const std::string& line : lines) {
        log_->appendPlainText(displayText(line));
    }
}

}  // namespace velmora
