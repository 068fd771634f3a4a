#pragma once

#include <QMainWindow>
#include <QTimer>

#include <functional>
#include <string>
#include <vector>

#include "zesthost/session.h"

namespace zestgui {

class EventLog;
class GraphView;
class PadView;
class PanelView;

// zesthost's window: the four simulated pads and the virtual pad, the bus driver's switch,
// the preferences panel, the graph drawn as a graph with the selected node's panel, and the
// event log below. It shows what the machine and the plug-in do about 30 times a second, and
// keeps every panel open as the command line does: what the plug-in asks to have rebuilt is
// rebuilt.
class MainWindow : public QMainWindow {
public:
    explicit MainWindow(zesthost::Session& session);

    // A graph file, as the command "load" reads it; an error goes to the log and the status bar.
    bool load(const std::string& path);
    bool save(const std::string& path);
    // One look at the machine and the plug-in, as the timer takes it.
    void refresh();

private:
    void open_file();
    void save_file();
    QWidget* make_pads();
    QWidget* make_preferences();
    void report(const std::string& message);
    // Runs a load or a save: an error is reported, success refreshes and shows `done`.
    bool run_file_step(const std::function<void()>& step, const std::string& done);

    zesthost::Session& session_;
    std::vector<PadView*> pads_;
    PanelView* preferences_ = nullptr;
    GraphView* graph_ = nullptr;
    EventLog* log_ = nullptr;
    QTimer timer_;
};

}  // namespace zestgui
