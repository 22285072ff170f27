#include <functional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "adapters/headless/headless_host.h"
#include "adapters/headless/virtual_clock.h"
#include "tests/support/recording_handler.h"

namespace {

using headless::VirtualClock;
namespace win = host::ui::win;

struct Probe : headless::TimerTarget {
    Probe(std::string n, std::vector<std::string>& l, VirtualClock& c) : name(std::move(n)), log(&l), clock(&c) {}
    virtual ~Probe() = default;
    std::string name;
    std::vector<std::string>* log;
    VirtualClock* clock;
    std::function<void(unsigned)> onFire;
    void fireTimer(unsigned id) override {
        log->push_back(name + std::to_string(id) + "@" + std::to_string(clock->nowMs() - 1000));
        if (onFire) {
            onFire(id);
        }
    }
};

TEST(VirtualClockTest, FiresDueTimersInTimeOrderWithTiesInArmingOrder) {
    VirtualClock clock(1000);
    std::vector<std::string> log;
    Probe a("a", log, clock);
    Probe b("b", log, clock);
    clock.setTimer(&a, 1, 30);
    clock.setTimer(&b, 1, 20);
    clock.setTimer(&b, 2, 30); // same due time as a1, armed later

    EXPECT_EQ(clock.advanceBy(19), 0) << "nothing is due before 20 ms";
    EXPECT_EQ(clock.nowMs(), 1019);
    EXPECT_EQ(clock.advanceTo(1060), 7);
    EXPECT_EQ(log, (std::vector<std::string>{"b1@20", "a1@30", "b2@30", "b1@40", "a1@60", "b2@60", "b1@60"}))
        << "time order; timers due together fire in the order they were (re-)armed";
    EXPECT_EQ(clock.nowMs(), 1060);
    EXPECT_EQ(clock.advanceTo(1000), 0) << "the clock never runs backwards";
    EXPECT_EQ(clock.nowMs(), 1060);
}

TEST(VirtualClockTest, HandlersMayReArmAndKillTimersWhileFiring) {
    VirtualClock clock(1000);
    std::vector<std::string> log;
    Probe p("p", log, clock);
    Probe q("q", log, clock);
    int fired = 0;
    p.onFire = [&](unsigned id) {
        if (id == 1 && ++fired == 1) {
            clock.setTimer(&p, 1, 100); // re-armed from now: next at 110
            clock.setTimer(&p, 2, 5);   // raised to the 10 ms minimum: 20
        }
        if (id == 2) {
            clock.killTimer(&p, 2);
            clock.killTimer(&q, 7); // q7 was due at 25 and must not fire
        }
    };
    clock.setTimer(&p, 1, 10);
    clock.setTimer(&q, 7, 25);

    clock.advanceTo(1120);
    EXPECT_EQ(log, (std::vector<std::string>{"p1@10", "p2@20", "p1@110"}));
    EXPECT_TRUE(clock.hasTimer(&p, 1));
    EXPECT_FALSE(clock.hasTimer(&p, 2));
    EXPECT_EQ(clock.nextDueMs(), 1210);
}

TEST(VirtualClockTest, WindowTimersReachHandlersAndDieWithTheirWindow) {
    headless::HeadlessHost host;
    testsupport::RecordingHandler handler;
    host::ui::Window* window = host.ui().createWindow(nullptr, 1, {0, 0, 100, 100}, &handler);
    ASSERT_NE(window, nullptr);
    std::vector<unsigned> fired;
    handler.onMessage = [&](const host::ui::Message& m) -> host::ui::LRESULT {
        if (m.message == win::WM_TIMER) {
            fired.push_back(static_cast<unsigned>(m.wParam));
            if (m.wParam == 1) {
                m.target->killTimer(1); // a one-shot timer, as views use them
                m.target->setTimer(2, 50);
            }
        }
        return 0;
    };
    window->setTimer(1, 100);
    const std::int64_t start = host.clock().nowMs();
    host.advanceBy(99);
    EXPECT_TRUE(fired.empty()) << "the clock never moves by itself and 99 ms is not enough";
    host.advanceBy(151);
    EXPECT_EQ(fired, (std::vector<unsigned>{1, 2, 2, 2}));
    EXPECT_EQ(host.clock().nowMs(), start + 250);

    window->destroy();
    EXPECT_EQ(host.clock().nextDueMs(), -1) << "a destroyed window leaves no timers behind";
    EXPECT_EQ(host.advanceBy(1000), 0);
}

} // namespace
