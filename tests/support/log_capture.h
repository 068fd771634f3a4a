#pragma once

#include <QString>
#include <QtGlobal>

#include <atomic>
#include <mutex>
#include <string>
#include <vector>

namespace testsupport {

// Keeps the plug-in's own log lines, as "warning <text>", while it lives, and restores the
// previous handler even when a test ends early. The plug-in logs without a source location;
// messages that carry one (Qt's own) go on to the previous handler.
// One capture at a time; the lines may come from any thread.
class LogCapture {
public:
    LogCapture() {
        current() = this;
        previous_ = qInstallMessageHandler(keep);
    }
    ~LogCapture() {
        qInstallMessageHandler(previous_);
        current() = nullptr;
    }
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    std::vector<std::string> lines() const {
        const std::lock_guard lock(mutex_);
        return lines_;
    }

private:
    static std::atomic<LogCapture*>& current() {
        static std::atomic<LogCapture*> capture = nullptr;
        return capture;
    }
    static void keep(QtMsgType type, const QMessageLogContext& context, const QString& text) {
        LogCapture* capture = current();
        if (context.file != nullptr) {
            if (capture->previous_ != nullptr) capture->previous_(type, context, text);
            return;
        }
        const char* level = type == QtInfoMsg      ? "info "
                            : type == QtWarningMsg ? "warning "
                            : type == QtDebugMsg   ? "debug "
                                                   : "error ";
        const std::lock_guard lock(capture->mutex_);
        capture->lines_.push_back(level + text.toStdString());
    }

    QtMessageHandler previous_ = nullptr;
    mutable std::mutex mutex_;
    std::vector<std::string> lines_;
};

}  // namespace testsupport
