#pragma once

#include <QByteArray>
#include <QHash>
#include <QObject>

#include <cstddef>
#include <cstdint>
#include <memory>

#include "gamepad/game.h"
#include "records/gamepad_records.h"

namespace gamepad {

class ReadThread;
class Writer;

// One pad, shared by every Gamepad handle of it: forwards the pad's signals and keeps track of
// which writer stands on which attribute, so that a new one replaces the old. Main thread.
class Game::GamepadImpl : public QObject {
    Q_OBJECT

public:
    GamepadImpl(ReadThread* read_thread, std::size_t gamepad_index);

    std::size_t gamepad_index() const { return gamepad_index_; }
    // The views; null before the first delivery. Valid until the next delivery for this pad.
    const GamepadMetadata* metadata() const;
    const GamepadState* state() const;

    // `attribute` is a position in metadata(); nothing happens without metadata.
    void set_constant(std::size_t attribute, const AttributeValue& value, std::int64_t deadline);
    void set_writer(const GamepadAttribute& attribute, std::unique_ptr<Writer> writer);
    void clear_writer(std::size_t attribute);
    // Mirrors pad `source` into this one; -1 ends that.
    void set_feed_source(std::int32_t source);
    std::int32_t feed_source() const { return feed_source_; }

Q_SIGNALS:
    void metadata_changed();
    void is_connected_changed();
    void attribute_changed(std::size_t attribute);

private:
    const GamepadAttribute* attribute_at(std::size_t attribute) const;

    ReadThread* read_thread_;
    std::size_t gamepad_index_;
    std::int32_t feed_source_ = -1;
    std::uint64_t feed_writer_id_ = 0;  // 0: none
    QHash<QByteArray, std::uint64_t> attribute_writers_;
};

}  // namespace gamepad
