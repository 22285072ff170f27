// Runner statements for recovery and colours: `feed-generate` writes a replay file from the
// back end's generator (with link drops and lost headlines, for reconnection storms),
// `relation-keys` ticks key sets of the relation search, `change-cast` announces a colour
// change as a host does, and the observations `all-news-audit` (the all-news list checked
// against the back end's tables) and `grid G palette`.
#include <algorithm>
#include <fstream>
#include <set>
#include <tuple>

#include "adapters/headless/headless_sheet.h"
#include "apps/newsview-script/action_failure.h"
#include "apps/newsview-script/observe_format.h"
#include "apps/newsview-script/scenario_runner.h"
#include "embedded_backend/news_generator.h"
#include "embedded_backend/replay_feed.h"
#include "host/backend/bk_quote_interface.h"
#include "host/framework/sync_info.h"
#include "host/text/format.h"
#include "news_view/news_ctrl_view.h"

namespace scenario {

namespace fs = std::filesystem;
using format::colorText;

namespace {

double shareValue(const std::string& text) {
    std::size_t used = 0;
    const double value = std::stod(text, &used);
    if (used != text.size() || value < 0 || value > 1) {
        throw std::invalid_argument(text);
    }
    return value;
}

} // namespace

void ScenarioRunner::doFeedGenerate(const Statement& s) {
    const std::string usage = "expected 'feed-generate FILE headlines N [seed S] [services A,B] [link-cycles C] "
                              "[lost P] [late-stories P] [story-corrections P] [resends P]'";
    if (!hasWord(s, 1)) {
        scriptError(s, usage);
    }
    embedded::GeneratorOptions options;
    options.startTime = m_host->clock().now();
    options.headlinesPerSecond = 5;
    long long headlines = -1;
    long long cycles = 0;
    try {
        for (std::size_t i = 2; i < s.words.size(); i += 2) {
            const std::string& key = word(s, i);
            const std::string& value = word(s, i + 1);
            if (key == "headlines") {
                headlines = number(s, i + 1);
            } else if (key == "seed") {
                options.seed = static_cast<std::uint64_t>(number(s, i + 1));
            } else if (key == "link-cycles") {
                cycles = number(s, i + 1);
            } else if (key == "services") {
                for (std::size_t start = 0; start <= value.size();) {
                    const std::size_t comma = std::min(value.find(',', start), value.size());
                    const int id = std::stoi(value.substr(start, comma - start));
                    if (id < 1 || id > 255) {
                        throw std::invalid_argument(value);
                    }
                    options.services.push_back(static_cast<unsigned char>(id));
                    start = comma + 1;
                }
            } else if (key == "lost") {
                options.lossShare = shareValue(value);
            } else if (key == "late-stories") {
                options.lateStoryShare = shareValue(value);
            } else if (key == "story-corrections") {
                options.storyCorrectionShare = shareValue(value);
            } else if (key == "resends") {
                options.resendShare = shareValue(value);
            } else {
                scriptError(s, usage);
            }
        }
    } catch (const std::invalid_argument&) {
        scriptError(s, usage);
    } catch (const std::out_of_range&) {
        scriptError(s, usage);
    }
    if (headlines < 1 || headlines > 10'000'000 || cycles < 0 || cycles > headlines) {
        scriptError(s, usage + ": N from 1, C from 0 to N");
    }
    const fs::path path = outputPath(word(s, 1));
    std::ofstream file(path, std::ios::binary);
    if (!file) {
        throw ActionFailure("cannot write " + path.string());
    }
    // One news day: the replay files everything under the services' current days. A link cycle
    // drops the link after every (N / (C + 1))-th headline and restores it half a step later.
    embedded::NewsGenerator generator(options);
    const long long step = headlines / (cycles + 1);
    long long written = 0;
    bool down = false;
    std::set<std::pair<unsigned char, std::int32_t>> sent;
    const auto link = [&](embedded::FeedEventKind kind, double at) {
        embedded::FeedEvent e;
        e.kind = kind;
        file << embedded::replayLine(e, at) << "\n";
    };
    while (written < headlines) {
        embedded::FeedEvent e = generator.next();
        const double at = static_cast<double>(e.time - options.startTime);
        if (e.kind == embedded::FeedEventKind::NewDay) {
            continue;
        }
        if (e.kind == embedded::FeedEventKind::Story) {
            e.day = 0;
        }
        if (e.kind == embedded::FeedEventKind::Headline) {
            if (cycles > 0 && step > 0) {
                if (!down && written % step == step - 1 && written / step < cycles) {
                    link(embedded::FeedEventKind::Disconnect, at);
                    down = true;
                } else if (down && written % step == step / 2) {
                    link(embedded::FeedEventKind::Reconnect, at);
                    down = false;
                }
            }
            sent.insert({e.service, e.seq});
            ++written;
        } else if (sent.count({e.service, e.seq}) == 0) {
            continue; // a story or re-send of a headline past the end
        }
        file << embedded::replayLine(e, at) << "\n";
    }
    if (down) {
        link(embedded::FeedEventKind::Reconnect, static_cast<double>(generator.time() - options.startTime));
    }
    if (!file) {
        throw ActionFailure("cannot write " + path.string());
    }
}

void ScenarioRunner::doRelationKeys(const Statement& s) {
    const std::string usage = "expected 'relation-keys clear' or 'relation-keys METHOD TYPES WORDS...' "
                              "(TYPES: category ids separated by commas, -999 for every category)";
    auto* view = dynamic_cast<TRVNewsCtrlView*>(m_view.get());
    if (view == nullptr) {
        throw ActionFailure("there is no news view");
    }
    if (hasWord(s, 1) && word(s, 1) == "clear" && !hasWord(s, 2)) {
        view->SetRelationConditions({});
        return;
    }
    if (!hasWord(s, 2)) {
        scriptError(s, usage);
    }
    RelationCondition condition;
    condition.m_byMode = static_cast<unsigned char>(number(s, 1));
    try {
        const std::string& types = word(s, 2);
        for (std::size_t start = 0; start <= types.size();) {
            const std::size_t comma = std::min(types.find(',', start), types.size());
            condition.m_vCategories.push_back(std::stoi(types.substr(start, comma - start)));
            start = comma + 1;
        }
    } catch (const std::exception&) {
        scriptError(s, usage);
    }
    for (std::size_t i = 3; i < s.words.size(); ++i) {
        condition.m_vWords.push_back(in(word(s, i)));
    }
    // As the key-set dialog leaves them: ticked key sets the relation list matches against.
    std::vector<RelationCondition> conditions = view->GetRelationConditions();
    conditions.push_back(std::move(condition));
    view->SetRelationConditions(std::move(conditions));
}

void ScenarioRunner::doChangeCast(const Statement& s) {
    if (hasWord(s, 1)) {
        scriptError(s, "'change-cast' takes no arguments");
    }
    auto* view = dynamic_cast<TRVQuoteBaseView*>(m_view.get());
    if (view == nullptr) {
        throw ActionFailure("there is no quote view");
    }
    // As a host does: the view's two row colours follow its list background colours.
    const CSyncInfo& sync = CSyncInfo::Get();
    view->SetBackColor(sync.SYS_crGetOtherColor("COLOR_LISTCTL_BACKGROUND"));
    view->SetStripeColor(sync.SYS_crGetOtherColor("COLOR_LISTCTL_BACKGROUNDSLASH"));
    view->vChangeCast();
}

std::vector<std::string> ScenarioRunner::observeAllNewsAudit(const Statement& s) const {
    const auto* view = dynamic_cast<const TRVNewsCtrlView*>(m_view.get());
    BKQuoteInterface* bk = BKQuoteInterface::GetBKInterface();
    const host::ui::CSuperSheetWnd* grid = view != nullptr ? view->GetSheet(news::kModeAllNews) : nullptr;
    if (grid == nullptr || bk == nullptr) {
        scriptError(s, "'all-news-audit' needs a news view with its all-news list");
    }
    host::ui::Date date{};
    const auto* picker = dynamic_cast<const host::ui::DatePicker*>(view->GetWnd()->child(news::kIdDatePicker));
    if (picker == nullptr || !picker->date(date)) {
        return {"<no date picked>"};
    }
    using Key = std::tuple<unsigned char, std::int64_t, std::int32_t>;
    std::set<Key> expected;
    for (const NewsServiceEntry& service : view->GetServiceList()) {
        if (service.m_bySelected == 0) {
            continue;
        }
        std::vector<CHeadlineTable> table;
        bk->BKQNEWS_iGetHeadlineTable(service.m_byService, table, BKQuoteInterface::kByDate,
                                      text::format("%04d%02d%02d", date.year, date.month, date.day));
        for (const CHeadlineTable& e : table) {
            expected.insert({e.m_byService, e.m_tTime, e.m_iSeqNo});
        }
    }
    const HeadlineTableList& list = *view->GetTable(news::kModeAllNews);
    std::set<Key> shown;
    std::size_t duplicates = 0;
    for (std::size_t i = 0; i < list.size(); ++i) {
        const CHeadlineTable e = list[i];
        duplicates += shown.insert({e.m_byService, e.m_tTime, e.m_iSeqNo}).second ? 0 : 1;
    }
    std::size_t missing = 0;
    for (const Key& key : expected) {
        missing += shown.count(key) == 0 ? 1 : 0;
    }
    std::size_t extra = 0;
    for (const Key& key : shown) {
        extra += expected.count(key) == 0 ? 1 : 0;
    }
    return {"entries " + std::to_string(list.size()) + " duplicates " + std::to_string(duplicates) + " missing " +
            std::to_string(missing) + " extra " + std::to_string(extra) + " rows " +
            std::to_string(grid->iGetRowCount())};
}

std::string ScenarioRunner::gridPalette(const headless::HeadlessSheet& grid) {
    const headless::HeadlessSheet::Colors& c = grid.colors();
    return "header " + colorText(c.headerFg) + " on " + colorText(c.headerBk) + " frame " + colorText(c.frame) +
           " rows " + colorText(c.evenBk) + " " + colorText(c.oddBk) + " focus " +
           (c.focusMarking ? colorText(c.focusFg) + " on " + colorText(c.focusBk) : std::string("off")) + " text " +
           colorText(c.fg);
}

} // namespace scenario
