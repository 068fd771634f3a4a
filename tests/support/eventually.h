#pragma once

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QThread>

// Runs the main thread's event loop until `done`, for a few seconds at most. What the polling
// thread queues for the main thread is delivered meanwhile.
// With `held`, the main thread is held up as a busy host's is, and nothing is delivered.
template <typename Done>
bool eventually(Done done, bool held = false) {
    const QDeadlineTimer deadline(5000);
    while (!done() && !deadline.hasExpired()) {
        if (!held) QCoreApplication::processEvents();
        QThread::msleep(2);
    }
    return done();
}
