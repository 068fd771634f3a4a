#include "gui/main_window.h"

#include <QCheckBox>
#include <QFileDialog>
#include <QGroupBox>
#include <QHBoxLayout>
#include <QMenuBar>
#include <QPushButton>
#include <QScrollArea>
#include <QSplitter>
#include <QStatusBar>
#include <QVBoxLayout>

#include <exception>

#include "gui/event_log.h"
#include "gui/graph_view.h"
#include "gui/pad_view.h"
#include "gui/panel_view.h"
#include "zestsim/zestsim.h"

namespace zestgui {

namespace {

constexpr int refresh_ms = 33;

constexpr const char* lit_buttons = R"(
QPushButton[lit="true"] { background-color: #4caf50; color: white; }
)";

}  // namespace

MainWindow::MainWindow(zesthost::Session& session) : session_(session) {
    setWindowTitle(QStringLiteral("zesthost: %1 %2")
                       .arg(QString::fromUtf8(session.info().name),
                            QString::fromUtf8(session.info().version)));
    setStyleSheet(QString::fromUtf8(lit_buttons));
    log_ = new EventLog(session.trace());
    session.build_preferences();
    graph_ = new GraphView(session);

    auto* middle = new QSplitter(Qt::Horizontal);
    middle->addWidget(make_preferences());
    middle->addWidget(graph_);
    middle->setStretchFactor(1, 1);
    auto* lower = new QSplitter(Qt::Vertical);
    lower->addWidget(middle);
    lower->addWidget(log_);
    lower->setStretchFactor(0, 3);
    lower->setStretchFactor(1, 1);
    auto* central = new QWidget;
    auto* layout = new QVBoxLayout(central);
    layout->addWidget(make_pads());
    layout->addWidget(lower, 1);
    setCentralWidget(central);

    QMenu* file = menuBar()->addMenu(QStringLiteral("&File"));
    file->addAction(QStringLiteral("&Open graph..."), QKeySequence::Open, this,
                    &MainWindow::open_file);
    file->addAction(QStringLiteral("&Save graph..."), QKeySequence::Save, this,
                    &MainWindow::save_file);
    file->addAction(QStringLiteral("&Quit"), QKeySequence::Quit, this, &QWidget::close);

    connect(&timer_, &QTimer::timeout, this, &MainWindow::refresh);
    timer_.start(refresh_ms);
}

QWidget* MainWindow::make_pads() {
    auto* pads = new QWidget;
    auto* layout = new QHBoxLayout(pads);
    layout->setContentsMargins(0, 0, 0, 0);
    for (std::size_t user = 0; user < zestsim::user_count; ++user)
        pads_.push_back(new PadView(user));
    pads_.push_back(new PadView(std::nullopt));
    for (PadView* pad : pads_)
        layout->addWidget(pad);
    // The simulated machine starts with its bus driver installed.
    auto* driver = new QCheckBox(QStringLiteral("Bus driver"));
    driver->setObjectName(QStringLiteral("driver"));
    driver->setChecked(true);
    connect(driver, &QCheckBox::toggled, this, [](bool on) { zestsim::set_bus_driver(on); });
    layout->addWidget(driver, 0, Qt::AlignTop);
    layout->addStretch();
    return pads;
}

QWidget* MainWindow::make_preferences() {
    auto* group = new QGroupBox(QStringLiteral("Preferences"));
    auto* layout = new QVBoxLayout(group);
    preferences_ = new PanelView(session_, session_.preferences_panel());
    layout->addWidget(preferences_);
    auto* apply = new QPushButton(QStringLiteral("Apply"));
    apply->setObjectName(QStringLiteral("apply"));
    apply->setToolTip(QStringLiteral("The update rate takes effect"));
    connect(apply, &QPushButton::clicked, this, [this] { session_.confirm_preferences(); });
    layout->addWidget(apply, 0, Qt::AlignLeft);
    layout->addStretch();
    return group;
}

void MainWindow::refresh() {
    session_.refresh();
    for (PadView* pad : pads_)
        pad->refresh();
    preferences_->sync();
    graph_->refresh();
    log_->refresh();
}

bool MainWindow::load(const std::string& path) {
    return run_file_step([&] { session_.load(path); }, "Loaded " + path);
}

bool MainWindow::save(const std::string& path) {
    return run_file_step([&] { session_.save(path); }, "Saved " + path);
}

bool MainWindow::run_file_step(const std::function<void()>& step, const std::string& done) {
    try {
        step();
    } catch (const std::exception& error) {
        report(error.what());
        return false;
    }
    refresh();
    statusBar()->showMessage(QString::fromStdString(done));
    return true;
}

void MainWindow::report(const std::string& message) {
    session_.trace().line("FAILED: " + message);
    statusBar()->showMessage(QString::fromStdString(message));
    log_->refresh();
}

void MainWindow::open_file() {
    const QString path = QFileDialog::getOpenFileName(this, QStringLiteral("Open graph"), {},
                                                      QStringLiteral("Graph files (*.json)"));
    if (!path.isEmpty()) load(path.toStdString());
}

void MainWindow::save_file() {
    const QString path = QFileDialog::getSaveFileName(this, QStringLiteral("Save graph"), {},
                                                      QStringLiteral("Graph files (*.json)"));
    if (!path.isEmpty()) save(path.toStdString());
}

}  // namespace zestgui
