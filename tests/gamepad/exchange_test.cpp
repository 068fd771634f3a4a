#include <QCoreApplication>
#include <QElapsedTimer>
#include <QEventLoop>
#include <QObject>

#include <gtest/gtest.h>

#include <atomic>
#include <random>
#include <thread>

#include "gamepad/command_queue.h"
#include "gamepad/gamepad_exchange.h"
#include "support/allocation_counter.h"

namespace gamepad {
namespace {

// Counts how many of its kind are alive, so that a leak or a double destruction shows.
struct TrackedRecord {
    static inline std::atomic<int> alive{0};
    std::uint64_t sequence = 0;
    TrackedRecord() { ++alive; }
    ~TrackedRecord() { --alive; }
};

class TrackedWriter : public Writer {
public:
    static inline int alive = 0;
    TrackedWriter() { ++alive; }
    ~TrackedWriter() override { --alive; }
    bool is_active() override { return true; }
    void resolve(Backend&) override {}
    void apply(const std::vector<GamepadState>&, std::vector<GamepadState>&) override {}
};

std::uint64_t id_of(const Command& command) {
    if (const auto* add = std::get_if<AddWriter>(&command)) return add->id;
    return std::get<RemoveWriter>(command).id;
}

TEST(CommandQueue, KeepsPushOrderAcrossBatchesAndATakenBatchCannotGrow) {
    CommandQueue queue;
    EXPECT_EQ(queue.take(), nullptr);
    queue.push(AddWriter{1, std::make_unique<TrackedWriter>()});
    queue.push(RemoveWriter{7});
    queue.push(AddWriter{2, std::make_unique<TrackedWriter>()});
    const std::unique_ptr<CommandQueue::Batch> first = queue.take();
    queue.push(RemoveWriter{1});
    queue.push(AttachVirtualGamepad{0, 1});
    const std::unique_ptr<CommandQueue::Batch> second = queue.take();

    ASSERT_NE(first, nullptr);
    ASSERT_EQ(first->size(), 3u);
    EXPECT_EQ(id_of((*first)[0]), 1u);
    EXPECT_EQ(id_of((*first)[1]), 7u);
    EXPECT_EQ(id_of((*first)[2]), 2u);
    ASSERT_NE(second, nullptr);
    ASSERT_EQ(second->size(), 2u);
    EXPECT_EQ(id_of((*second)[0]), 1u);
    EXPECT_TRUE(std::holds_alternative<AttachVirtualGamepad>((*second)[1]));
    EXPECT_EQ(queue.take(), nullptr);
}

TEST(CommandQueue, WritersOfBatchesThatNeverRanDieWithTheirBatch) {
    {
        CommandQueue queue;
        queue.push(AddWriter{1, std::make_unique<TrackedWriter>()});
        queue.push(AddWriter{2, std::make_unique<TrackedWriter>()});
        queue.take().reset();
        EXPECT_EQ(TrackedWriter::alive, 0);
        queue.push(AddWriter{3, std::make_unique<TrackedWriter>()});
        EXPECT_EQ(TrackedWriter::alive, 1);
    }
    EXPECT_EQ(TrackedWriter::alive, 0);
}

struct Channel {
    PublicationChannel<TrackedRecord> channel;
    RecordLease<TrackedRecord> view;
    std::uint64_t published = 0;

    void publish_next() {
        publish(channel, [this](TrackedRecord& record) { record.sequence = ++published; });
    }
    std::uint64_t viewed() const { return view.record ? view.record->sequence : 0; }
};

TEST(PublicationChannel, AnyInterleavingKeepsRecordsFewAndTheViewOnTheNewest) {
    std::mt19937 random(20261123);
    for (int round = 0; round < 50; ++round) {
        {
            Channel c;
            for (int step = 0; step < 200; ++step) {
                if (random() % 3 != 0) {
                    c.publish_next();
                } else {
                    const std::uint64_t before = c.viewed();
                    const bool changed = collect(c.channel, c.view);
                    // A delivery with nothing new leaves the view; any other brings the newest.
                    EXPECT_EQ(c.viewed(), changed ? c.published : before);
                }
                // view, latest, spare and nothing else
                ASSERT_LE(TrackedRecord::alive.load(), 3);
            }
            if (round % 2 == 0) {
                collect(c.channel, c.view);
                EXPECT_EQ(c.viewed(), c.published);
            }
        }
        ASSERT_EQ(TrackedRecord::alive.load(), 0);  // an uncollected latest and spare included
    }
}

TEST(PublicationChannel, RecyclesRecordsSoAWarmPublishAllocatesNothing) {
    if (!testsupport::AllocationCounter::supported()) GTEST_SKIP() << "no counting allocator";
    PublicationChannel<GamepadState> channel;
    RecordLease<GamepadState> view;
    GamepadState working{true, std::vector<AttributeValue>(23)};
    const auto round_trip = [&](int publications) {
        for (int i = 0; i < publications; ++i) {
            working.values[0] = AttributeValue::make_trigger(i);
            publish(channel, [&](GamepadState& record) {
                record.is_connected = working.is_connected;
                record.values = working.values;
            });
        }
        collect(channel, view);
    };
    round_trip(1);
    round_trip(1);
    {
        // One delivery per publication, as each publication queues one.
        testsupport::AllocationCounter allocations;
        for (int i = 0; i < 100; ++i)
            round_trip(1);
        EXPECT_EQ(allocations.count(), 0u);
    }
    {
        // Deliveries that lag cost at most one record per burst; nothing piles up.
        testsupport::AllocationCounter allocations;
        for (int i = 0; i < 50; ++i)
            round_trip(2);
        EXPECT_LE(allocations.count(), 50u * 2);  // a record and its values
    }
    ASSERT_NE(view.record, nullptr);
    EXPECT_EQ(view.record->values[0].as_trigger(), 1.0);  // the newest of the last two
}

// Stands in for the polling thread's signal: queued, it carries nothing but the news.
class Publisher : public QObject {
    Q_OBJECT
Q_SIGNALS:
    void published();
    void finished();
};

// The publisher at full speed on its own thread; the collector on the main thread's event loop,
// called through a queued signal as the polling thread's deliveries are.
TEST(PublicationChannel, TwoThreadsNeverShowAnOlderRecordAfterANewerOne) {
    constexpr std::uint64_t publications = 20000;
    Channel c;
    Publisher publisher;
    QObject collector;
    std::uint64_t last_seen = 0;
    bool went_back = false;
    QObject::connect(
        &publisher, &Publisher::published, &collector,
        [&] {
            collect(c.channel, c.view);
            went_back = went_back || c.viewed() < last_seen;
            last_seen = c.viewed();
        },
        Qt::QueuedConnection);
    QEventLoop loop;
    QObject::connect(&publisher, &Publisher::finished, &loop, &QEventLoop::quit,
                     Qt::QueuedConnection);

    std::thread polling([&] {
        QElapsedTimer clock;
        clock.start();
        for (std::uint64_t i = 0; i < publications && clock.elapsed() < 5000; ++i) {
            c.publish_next();
            Q_EMIT publisher.published();
        }
        Q_EMIT publisher.finished();
    });
    loop.exec();
    polling.join();
    QCoreApplication::processEvents();  // deliveries queued after the quit

    EXPECT_FALSE(went_back);
    EXPECT_GT(c.published, 0u);
    EXPECT_EQ(c.viewed(), c.published);
    EXPECT_LE(TrackedRecord::alive.load(), 3);
}

TEST(GamepadExchange, DestructionFreesEveryRecordInViewsAndSlots) {
    {
        Channel c;
        c.publish_next();
        collect(c.channel, c.view);
        c.publish_next();
        c.publish_next();
        c.publish_next();  // view, latest and spare all hold one now
        EXPECT_EQ(TrackedRecord::alive.load(), 3);
    }
    EXPECT_EQ(TrackedRecord::alive.load(), 0);
    GamepadExchange exchange;
    publish(exchange.metadata_channel, [](GamepadMetadata& m) { m.name = "pad"; });
    publish(exchange.state_channel, [](GamepadState& s) { s.is_connected = true; });
    EXPECT_TRUE(collect(exchange.metadata_channel, exchange.metadata_view));
    EXPECT_TRUE(collect(exchange.state_channel, exchange.state_view));
    EXPECT_FALSE(collect(exchange.state_channel, exchange.state_view));
    EXPECT_EQ(exchange.metadata_view.record->name, "pad");
    EXPECT_TRUE(exchange.state_view.record->is_connected);
}

}  // namespace
}  // namespace gamepad

#include "exchange_test.moc"
