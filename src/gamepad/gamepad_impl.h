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

// A writer as the one who put it in place knows it: the id of its attribute and its own id;
// writer 0 when nothing was put in place.
struct PlacedWriter {
    QByteArray attribute;
    std::uint64_t writer = 0;
};

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

    // `attribute` is a position in metadata(); without metadata nothing happens and writer 0
    // comes back.
    PlacedWriter set_constant(std::size_t attribute, const AttributeValue& value,
                              std::int64_t deadline);
    // Puts `writer` on the attribute in place of the one there, whoever put it; the result is
    // what clear_placed_writer needs to take this one off again.
    PlacedWriter set_writer(const GamepadAttribute& attribute, std::unique_ptr<Writer> writer);
    // Takes off whatever writer stands on the attribute, whoever put it there.
    void clear_writer(std::size_t attribute);
    // Takes `placed` off, unless another writer has replaced it since: that one now belongs to
    // whoever put it there.
    void clear_placed_writer(const PlacedWriter& placed);
    // Mirrors pad `source` into this one; -1 ends that.
    void set_feed_source(std::int32_t source);
    std::int32_t feed_source() const { return feed_source_; }

Q_SIGNALS:
    void metadata_changed();
    void is_connected_changed();
    void attribute_changed(std::size_t attribute);

private:
    using AttributeWriters = QHash<QByteArray, std::uint64_t>;

    const GamepadAttribute* attribute_at(std::size_t attribute) const;
    void remove_writer(AttributeWriters::const_iterator present);

    ReadThread* read_thread_;
    std::size_t gamepad_index_;
    std::int32_t feed_source_ = -1;
    std::uint64_t feed_writer_id_ = 0;  // 0: none
    AttributeWriters attribute_writers_;
};

}  // namespace gamepad
