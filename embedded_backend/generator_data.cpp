#include "embedded_backend/generator_data.h"

#include <cstdio>

#include "host/text/cp950.h"

namespace embedded {

namespace {

struct SymbolSource {
    const char* code;
    const char* name;
    std::int32_t category;
};

struct CategorySource {
    std::int32_t id;
    const char* name;
    std::vector<const char*> titles;
};

// Listed stocks of the exchange service with their industry groups.
const std::vector<SymbolSource> kExchangeSymbols = {
    {"2330", "台積電", 24}, {"2317", "鴻海", 31},       {"2454", "聯發科", 24}, {"2308", "台達電", 28},
    {"2303", "聯電", 24},   {"2412", "中華電", 27},     {"2882", "國泰金", 17}, {"2881", "富邦金", 17},
    {"2891", "中信金", 17}, {"2886", "兆豐金", 17},     {"2884", "玉山金", 17}, {"2892", "第一金", 17},
    {"5880", "合庫金", 17}, {"1301", "台塑", 3},        {"1303", "南亞", 3},    {"1326", "台化", 3},
    {"6505", "台塑化", 23}, {"2002", "中鋼", 10},       {"2603", "長榮", 15},   {"2609", "陽明", 15},
    {"2615", "萬海", 15},   {"3008", "大立光", 26},     {"2382", "廣達", 25},   {"2357", "華碩", 25},
    {"2379", "瑞昱", 24},   {"3711", "日月光投控", 24}, {"2408", "南亞科", 24}, {"3034", "聯詠", 24},
    {"2395", "研華", 25},   {"2301", "光寶科", 26},     {"2327", "國巨", 28},   {"4938", "和碩", 25},
    {"2474", "可成", 31},   {"3045", "台灣大", 27},     {"4904", "遠傳", 27},   {"1216", "統一", 2},
    {"2207", "和泰車", 12}, {"2912", "統一超", 18},     {"1101", "台泥", 1},    {"2105", "正新", 11},
    {"6214", "精誠", 30},
};

// Emerging-board companies (made up for the demo market).
const std::vector<SymbolSource> kEmergingSymbols = {
    {"7721", "晶準生技", 22}, {"6872", "天方能源", 23}, {"7583", "宏遠智能", 31},   {"6997", "博盛半導體", 24},
    {"7610", "聯齊科技", 28}, {"7708", "全福生技", 22}, {"6901", "鑫創電子", 28},   {"7556", "意德士科技", 30},
    {"6878", "銓心材料", 21}, {"7642", "昶瑞機電", 31}, {"7587", "永捷光電", 26},   {"6999", "群翊雲端", 30},
    {"7631", "聚和國際", 21}, {"6980", "台灣精材", 24}, {"7737", "安碁生醫", 22},   {"6951", "青松健康", 22},
    {"7650", "富鼎先進", 24}, {"7592", "創新服飾", 18}, {"6988", "威力德生醫", 22}, {"7619", "鈺立微", 24},
};

// Hong Kong listed companies.
const std::vector<SymbolSource> kHongKongSymbols = {
    {"00700", "騰訊控股", 30},   {"09988", "阿里巴巴", 30}, {"00005", "匯豐控股", 17},   {"01299", "友邦保險", 17},
    {"00941", "中國移動", 27},   {"03690", "美團", 30},     {"00388", "香港交易所", 17}, {"01810", "小米集團", 25},
    {"02318", "中國平安", 17},   {"00939", "建設銀行", 17}, {"01398", "工商銀行", 17},   {"00883", "中國海洋石油", 23},
    {"00016", "新鴻基地產", 14}, {"00001", "長和", 20},     {"00002", "中電控股", 23},   {"00003", "香港中華煤氣", 23},
    {"00011", "恆生銀行", 17},   {"00027", "銀河娛樂", 16}, {"01211", "比亞迪股份", 12}, {"02020", "安踏體育", 18},
    {"09618", "京東集團", 18},   {"01024", "快手", 30},     {"00992", "聯想集團", 25},   {"02382", "舜宇光學科技", 26},
};

const std::vector<const char*> kIssuers = {"元大", "凱基", "群益", "統一", "富邦", "永豐"};

// Ids and short names agree with resources/NewsService.ini, which the view uses for its
// category column.
const std::vector<CategorySource> kStockCategories = {
    {1,
     "營收",
     {"{name}({code}){month}月營收{amt}億元，年增{pct}%", "{name}({code})公告{month}月合併營收{amt}億元，月減{pct}%",
      "{name}{month}月營收創同期新高，年增{pct}%"}},
    {2, "法說", {"{name}({code})將於{md}舉行法說會", "{name}({code})法說會：{period}{topic}需求看增"}},
    {4,
     "除權息",
     {"{name}({code})董事會決議每股配發現金股利{div}元", "{name}({code})今日除息，息值{div}元",
      "{name}({code})公告除權息交易日為{md}"}},
    {13,
     "董事會",
     {"{name}({code})董事會決議通過{year}年度財務報告", "{name}({code})董事會決議辦理現金增資{shares}張",
      "{name}({code})董事會決議買回庫藏股{shares}張"}},
    {14, "資產", {"{name}({code})公告處分{asset}，處分利益{amt}億元", "{name}({code})代子公司公告取得{asset}"}},
    {15, "澄清", {"{name}({code})澄清{media}有關{topic}之報導", "{name}({code})針對{media}報導之說明"}},
    {3, "財報", {"{name}({code})第{q}季每股盈餘{eps}元", "{name}({code})公布第{q}季財報，毛利率{pct}%"}},
    {6, "產業", {"{topic}需求回溫，{name}({code})訂單能見度提升", "{name}({code})擴大{topic}布局，資本支出上調"}},
    {16, "評等", {"外資調升{name}({code})目標價至{price}元", "投信連{days}日買超{name}({code})"}},
};

const std::vector<CategorySource> kWarrantCategories = {
    {51, "發行", {"{issuer}今日發行{uname}認購權證{count}檔"}},
    {52, "上市", {"{wname}({wcode})今日掛牌上市"}},
    {53, "到期", {"{wname}({wcode})將於{md}到期"}},
    {54, "重設", {"{wname}({wcode})履約價格重設為{price}元"}},
    {55, "造市", {"{issuer}調整{wname}({wcode})造市報價"}},
};

const std::vector<const char*> kStockSentences = {
    "{name}({code})今日公告{month}月自結合併營收{amt}億元，較上月{updown}{pct}%。",
    "公司表示，受惠於{topic}需求持續成長，{period}營運可望維持穩健。",
    "法人指出，{name}在{topic}領域布局完整，後續表現值得關注。",
    "{name}今日收盤價{price}元，成交量{vol}張。",
    "公司董事會同時通過{year}年度營運計畫，並將於{md}召開股東常會。",
    "{name}發言人表示，有關{media}報導內容係屬臆測，公司並未對外提供相關資訊。",
    "市場預期{name}{period}{topic}相關營收占比將進一步提高。",
    "本案交易總金額約{amt}億元，預計對公司財務業務無重大影響。",
};

const std::vector<const char*> kWarrantSentences = {
    "{issuer}表示，本次發行之{uname}認購權證履約價格為{price}元，行使比例{ratio}。",
    "{wname}({wcode})最後交易日為{md}，投資人應留意權證到期風險。",
    "權證價格受標的股價、波動率及剩餘天數影響，投資前應審慎評估。",
    "{issuer}將持續提供{wname}穩定之造市報價。",
};

const std::vector<const char*> kClosingSentences = {
    "以上資料由公司提供，投資人應自行判斷。",
    "本資料僅供參考，不構成投資建議。",
};

const std::vector<std::pair<std::string, std::vector<const char*>>> kWords = {
    {"asset", {"機器設備", "廠房及土地", "子公司股權", "有價證券", "辦公大樓"}},
    {"media", {"財經媒體", "電子報", "週刊", "部分媒體"}},
    {"topic", {"人工智慧", "電動車", "高效能運算", "伺服器", "車用電子", "5G通訊", "生技醫療", "綠色能源", "半導體"}},
    {"period", {"下半年", "明年", "第四季", "今年"}},
    {"updown", {"成長", "衰退", "增加", "減少"}},
};

CString big5(const char* utf8) {
    return cp950::fromUtf8(utf8);
}

std::vector<BuiltinSymbol> convertSymbols(const std::vector<SymbolSource>& source) {
    std::vector<BuiltinSymbol> out;
    for (const SymbolSource& s : source) {
        out.push_back(BuiltinSymbol{s.code, big5(s.name), s.category, {}, {}});
    }
    return out;
}

std::vector<BuiltinCategory> convertCategories(const std::vector<CategorySource>& source) {
    std::vector<BuiltinCategory> out;
    for (const CategorySource& c : source) {
        out.push_back(BuiltinCategory{c.id, big5(c.name)});
    }
    return out;
}

std::vector<CategoryTemplates> convertTitles(const std::vector<CategorySource>& source) {
    std::vector<CategoryTemplates> out;
    for (const CategorySource& c : source) {
        CategoryTemplates t{c.id, {}};
        for (const char* title : c.titles) {
            t.titles.push_back(parseTemplate(title));
        }
        out.push_back(std::move(t));
    }
    return out;
}

std::vector<TextTemplate> convertTemplates(const std::vector<const char*>& source) {
    std::vector<TextTemplate> out;
    for (const char* text : source) {
        out.push_back(parseTemplate(text));
    }
    return out;
}

// Warrants on the first exchange stocks, two issuers each: "<stock><issuer>購NN", codes 03xxxx.
std::vector<BuiltinSymbol> makeWarrants() {
    std::vector<BuiltinSymbol> out;
    int serial = 0;
    for (std::size_t i = 0; i < 18; ++i) {
        const SymbolSource& underlying = kExchangeSymbols[i];
        for (int k = 0; k < 2; ++k) {
            const char* issuer = kIssuers[(i + static_cast<std::size_t>(k) * 3) % kIssuers.size()];
            char code[8];
            std::snprintf(code, sizeof code, "03%04d", 1201 + serial * 37 % 8800);
            char number[4];
            std::snprintf(number, sizeof number, "%02d", k + 1);
            out.push_back(BuiltinSymbol{code, big5(underlying.name) + big5(issuer) + big5("購") + number,
                                        underlying.category, big5(underlying.name), big5(issuer)});
            ++serial;
        }
    }
    return out;
}

BuiltinCatalog makeCatalog() {
    BuiltinCatalog c;
    const std::vector<BuiltinCategory> stock = convertCategories(kStockCategories);
    c.services.push_back(BuiltinService{16, big5("台灣證券交易所新聞"), big5("台股"), big5("上市"), ServiceKind::Stocks,
                                        50, stock, convertSymbols(kExchangeSymbols)});
    c.services.push_back(BuiltinService{122, big5("興櫃股票新聞"), big5("興櫃"), big5("興櫃"), ServiceKind::Stocks, 15,
                                        stock, convertSymbols(kEmergingSymbols)});
    c.services.push_back(BuiltinService{22, big5("香港股市新聞"), big5("港股"), big5("港股"), ServiceKind::Stocks, 20,
                                        stock, convertSymbols(kHongKongSymbols)});
    c.services.push_back(BuiltinService{52, big5("權證新聞"), big5("權證"), big5("權證"), ServiceKind::Warrants, 15,
                                        convertCategories(kWarrantCategories), makeWarrants()});
    c.stockTitles = convertTitles(kStockCategories);
    c.warrantTitles = convertTitles(kWarrantCategories);
    c.stockSentences = convertTemplates(kStockSentences);
    c.warrantSentences = convertTemplates(kWarrantSentences);
    c.closingSentences = convertTemplates(kClosingSentences);
    for (const auto& [slot, list] : kWords) {
        std::vector<CString> words;
        for (const char* w : list) {
            words.push_back(big5(w));
        }
        c.words.emplace_back(slot, std::move(words));
    }
    std::vector<CString> issuers;
    for (const char* issuer : kIssuers) {
        issuers.push_back(big5(issuer));
    }
    c.words.emplace_back("issuer", std::move(issuers));
    c.resendMark = big5("(更正)");
    return c;
}

} // namespace

const BuiltinService* BuiltinCatalog::service(unsigned char id) const {
    for (const BuiltinService& s : services) {
        if (s.id == id) {
            return &s;
        }
    }
    return nullptr;
}

const std::vector<CString>* BuiltinCatalog::wordList(const std::string& slot) const {
    for (const auto& [name, list] : words) {
        if (name == slot) {
            return &list;
        }
    }
    return nullptr;
}

const BuiltinCatalog& builtinCatalog() {
    static const BuiltinCatalog catalog = makeCatalog();
    return catalog;
}

TextTemplate parseTemplate(const std::string& utf8) {
    // Cut in UTF-8, where '{' and '}' are never part of another character (in code page 950
    // they can be trail bytes).
    TextTemplate out;
    std::size_t pos = 0;
    while (pos < utf8.size()) {
        const std::size_t open = utf8.find('{', pos);
        const std::size_t close = open == std::string::npos ? std::string::npos : utf8.find('}', open);
        if (close == std::string::npos) {
            out.push_back(TemplatePiece{cp950::fromUtf8(utf8.substr(pos)), {}});
            break;
        }
        if (open > pos) {
            out.push_back(TemplatePiece{cp950::fromUtf8(utf8.substr(pos, open - pos)), {}});
        }
        out.push_back(TemplatePiece{{}, utf8.substr(open + 1, close - open - 1)});
        pos = close + 1;
    }
    return out;
}

} // namespace embedded
