#pragma once

#include <QCoreApplication>

#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "backend/attribute_info.h"
#include "gamepad/read_thread.h"
#include "support/manual_ticks.h"
#include "support/scripted_backend.h"

namespace gamepad {

using testsupport::ManualTicks;
using testsupport::ScriptedBackend;
using testsupport::ScriptedPad;

inline const std::vector<AttributeInfo> three_rows{
    {"a", AttributeType::Button, AttributeDirection::Input},
    {"t", AttributeType::Trigger, AttributeDirection::Input},
    {"s", AttributeType::Stick, AttributeDirection::Input}};

inline ScriptedPad pad_with(std::vector<AttributeInfo> rows, bool connected = true) {
    ScriptedPad pad;
    pad.connected = connected;
    pad.values.resize(rows.size());
    pad.rows = std::move(rows);
    return pad;
}

// Delivers what the polling thread queued for the main thread.
inline void deliver() {
    QCoreApplication::processEvents();
}

// Records the polling thread's signals on the main thread, in the order of delivery.
class SignalLog : public QObject {
public:
    explicit SignalLog(ReadThread& thread) {
        const auto add = [this](std::string entry) { entries_.push_back(std::move(entry)); };
        connect(&thread, &ReadThread::gamepad_changed, this,
                [add](std::size_t i) { add("changed " + std::to_string(i)); });
        connect(&thread, &ReadThread::gamepad_metadata_changed, this,
                [add](std::size_t i) { add("metadata " + std::to_string(i)); });
        connect(&thread, &ReadThread::gamepad_any_metadata_changed, this, [add] { add("any"); });
        connect(&thread, &ReadThread::gamepad_is_connected_changed, this,
                [add](std::size_t i) { add("connected " + std::to_string(i)); });
        connect(&thread, &ReadThread::gamepad_attribute_changed, this,
                [add](std::size_t i, std::size_t a) {
                    add("attribute " + std::to_string(i) + " " + std::to_string(a));
                });
        connect(&thread, &ReadThread::virtual_gamepad_attach_error, this,
                [add](const QByteArray& error, std::uint64_t generation) {
                    add("attach error " + error.toStdString() + " #" + std::to_string(generation));
                });
        connect(&thread, &ReadThread::virtual_gamepad_attach_success, this,
                [add](std::size_t i, std::uint64_t generation) {
                    add("attach success " + std::to_string(i) + " #" + std::to_string(generation));
                });
    }

    std::vector<std::string> take() { return std::exchange(entries_, {}); }

private:
    std::vector<std::string> entries_;
};

}  // namespace gamepad
