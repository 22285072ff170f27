#include <gtest/gtest.h>

#include "host/backend/news_receiver.h"
#include "host/backend/subscriptions.h"
#include "host/framework/cfg_io.h"
#include "host/framework/message_map.h"
#include "host/ui/registered_messages.h"

namespace {

using host::ui::MAKEWPARAM;
using host::ui::Message;
namespace win = host::ui::win;

struct Target {
    std::vector<std::string> calls;
    void OnClick() { calls.push_back("click"); }
    void OnRange(unsigned id) { calls.push_back("range " + std::to_string(id)); }
    void OnCloseUp() { calls.push_back("closeup"); }
    void OnDate(const host::ui::NotifyInfo& info) { calls.push_back("date " + std::to_string(info.idFrom)); }
    host::ui::LRESULT OnKey(const Message& m) {
        calls.push_back("key " + std::to_string(m.wParam));
        return 7;
    }
    host::ui::LRESULT OnSizeChange(host::ui::WPARAM w, host::ui::LPARAM) {
        calls.push_back("size " + std::to_string(w));
        return 0;
    }
};

using Map = host::MessageMap<Target>;

const Map& targetMap() {
    static const Map map{
        Map::command<&Target::OnClick>(3001),
        Map::commandRange<&Target::OnRange>(5050, 5060),
        Map::commandCode<&Target::OnCloseUp>(3005, win::CBN_CLOSEUP),
        Map::notify<&Target::OnDate>(3009, win::DTN_CLOSEUP),
        Map::message<&Target::OnKey>(win::WM_KEYDOWN),
        Map::registered<&Target::OnSizeChange>("RVMSG_CHANGESIZE"),
    };
    return map;
}

TEST(MessageMap, RoutesByMessageIdAndCode) {
    Target t;
    const Map& map = targetMap();
    EXPECT_TRUE(map.dispatch(t, {win::WM_COMMAND, MAKEWPARAM(3001, win::BN_CLICKED), 0}));
    EXPECT_TRUE(map.dispatch(t, {win::WM_COMMAND, MAKEWPARAM(5050, 0), 0}));
    EXPECT_TRUE(map.dispatch(t, {win::WM_COMMAND, MAKEWPARAM(5060, 0), 0}));
    EXPECT_FALSE(map.dispatch(t, {win::WM_COMMAND, MAKEWPARAM(5061, 0), 0})) << "range end is inclusive, not open";
    EXPECT_FALSE(map.dispatch(t, {win::WM_COMMAND, MAKEWPARAM(3005, win::CBN_SELCHANGE), 0}))
        << "a close-up entry must not take a selection change";
    EXPECT_TRUE(map.dispatch(t, {win::WM_COMMAND, MAKEWPARAM(3005, win::CBN_CLOSEUP), 0}));
    host::ui::NotifyInfo info{3009, win::DTN_CLOSEUP};
    EXPECT_TRUE(map.dispatch(t, {win::WM_NOTIFY, 3009, reinterpret_cast<host::ui::LPARAM>(&info)}));
    host::ui::NotifyInfo other{3009, win::DTN_DROPDOWN};
    EXPECT_FALSE(map.dispatch(t, {win::WM_NOTIFY, 3009, reinterpret_cast<host::ui::LPARAM>(&other)}));
    EXPECT_FALSE(map.dispatch(t, {win::WM_NOTIFY, 3009, 0})) << "a notification without payload is not taken";
    const auto key = map.dispatch(t, {win::WM_KEYDOWN, win::VK_RETURN, 0});
    ASSERT_TRUE(key);
    EXPECT_EQ(*key, 7);
    EXPECT_TRUE(map.dispatch(t, {host::ui::RegisterWindowMessageA("RVMSG_CHANGESIZE"), 42, 0}));
    EXPECT_EQ(t.calls, (std::vector<std::string>{"click", "range 5050", "range 5060", "closeup", "date 3009", "key 13",
                                                 "size 42"}));
}

TEST(RegisteredMessages, SameNameSameNumberInTheRegisteredRange) {
    const unsigned a = host::ui::RegisterWindowMessageA("A_TEST_MESSAGE");
    const unsigned b = host::ui::RegisterWindowMessageA("B_TEST_MESSAGE");
    EXPECT_GE(a, win::kFirstRegisteredMessage);
    EXPECT_NE(a, b);
    EXPECT_EQ(a, host::ui::RegisterWindowMessageA("A_TEST_MESSAGE"));
}

TEST(NewsSubscriptions, ServicesAreCountedPerReceiverAndRemovedWithIt) {
    NewsSubscriptions subs;
    NewsReceiver a;
    NewsReceiver b;
    const CSymbolInfo s16{16, ""};
    const CSymbolInfo s52{52, ""};
    subs.change(&a, {s16, s52}, {});
    subs.change(&b, {s16}, {});
    subs.change(&b, {CSymbolInfo{16, "2330"}}, {}); // a symbol is not the whole service
    EXPECT_EQ(subs.receiversFor(16), (std::vector<NewsReceiver*>{&a, &b}));
    EXPECT_EQ(subs.receiversFor(52), std::vector<NewsReceiver*>{&a});
    subs.change(&b, {}, {s16});
    EXPECT_EQ(subs.receiversFor(16), std::vector<NewsReceiver*>{&a});
    EXPECT_TRUE(subs.isRegistered(&b)) << "b still holds its symbol registration";
    EXPECT_FALSE(subs.isRegistered(&b, 16));
    subs.removeReceiver(&a);
    EXPECT_TRUE(subs.receiversFor(52).empty());
    EXPECT_EQ(subs.allReceivers(), std::vector<NewsReceiver*>{&b});
    subs.change(&a, {}, {s16}); // removing what was never registered is harmless
    EXPECT_FALSE(subs.isRegistered(&a));
}

class MemoryCfg : public TRVCfgIO2 {
public:
    bool GetViewInfo(const CString& s, int, int, const CString& v, const CString& k, CString& value) const override {
        const auto it = values.find(s + "|" + v + "|" + k);
        if (it == values.end()) {
            return false;
        }
        value = it->second;
        return true;
    }
    void SetViewInfo(const CString& s, int, int, const CString& v, const CString& k, const CString& value) override {
        values[s + "|" + v + "|" + k] = value;
    }
    std::map<std::string, std::string> values;
};

TEST(CfgIO, TypedValuesRejectTextThatIsNotANumber) {
    MemoryCfg cfg;
    cfg.SetViewInfoInt("S", 0, 0, "V", "n", -42);
    cfg.SetViewInfoBool("S", 0, 0, "V", "b", true);
    cfg.SetViewInfo("S", 0, 0, "V", "junk", "12abc");
    int n = 0;
    bool b = false;
    EXPECT_TRUE(cfg.GetViewInfoInt("S", 0, 0, "V", "n", n));
    EXPECT_EQ(n, -42);
    EXPECT_TRUE(cfg.GetViewInfoBool("S", 0, 0, "V", "b", b));
    EXPECT_TRUE(b);
    int junk = 5;
    EXPECT_FALSE(cfg.GetViewInfoInt("S", 0, 0, "V", "junk", junk));
    EXPECT_EQ(junk, 5) << "a refused value leaves the output unchanged";
    EXPECT_FALSE(cfg.GetViewInfoInt("S", 0, 0, "V", "absent", junk));
}

} // namespace
