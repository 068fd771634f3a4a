#pragma once

#include <QPlainTextEdit>

#include "zesthost/trace.h"

namespace zestgui {

// The session's trace as it grows, each line with its time: events, loads, the plug-in's log.
class EventLog : public QPlainTextEdit {
public:
    explicit EventLog(zesthost::Trace& trace, QWidget* parent = nullptr);

    // Takes the lines the trace kept since the last call.
    void refresh();

private:
    zesthost::Trace& trace_;
};

}  // namespace zestgui
