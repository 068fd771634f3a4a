#pragma once

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QThread>

// Runs the main thread's event loop until `done`, for a few seconds at most. What the polling
// thread queues for the main thread is delivered meanwhile.
template <typename Done>
bool eventually(Done done) {
    QElapsedTimer clock;
    clock.start();
    while (!done() && clock.elapsed() < 5000) {
        QCoreApplication::processEvents();
        QThread::msleep(2);
    }
    return done();
}
