#include "gui/event_log.h"

#include <QFontDatabase>

namespace zestgui {

EventLog::EventLog(zesthost::Trace& trace, QWidget* parent)
    : QPlainTextEdit(parent), trace_(trace) {
    setObjectName(QStringLiteral("log"));
    setReadOnly(true);
    setMaximumBlockCount(5000);
    setFont(QFontDatabase::systemFont(QFontDatabase::FixedFont));
    trace_.keep_lines();
}

void EventLog::refresh() {
    for (const std::string& line : trace_.take_kept_lines())
        appendPlainText(QString::fromStdString(line));
}

}  // namespace zestgui
