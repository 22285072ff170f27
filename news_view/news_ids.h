#pragma once

// Control, command, timer and child-window identifiers of the news view, and the numbers of
// its function modes. Values are fixed: hosts, dialog templates and saved layouts use them.
namespace news {

// Controls of TRVNewsCtrlView.
constexpr int kIdRelationSearchButton = 3001;
constexpr int kIdDealsSearchButton = 3002;
constexpr int kIdCategoryCombo = 3004;
constexpr int kIdSymbolCombo = 3005;
constexpr int kIdWarningSearchButton = 3006;
constexpr int kIdSearchButton = 3007;
constexpr int kIdSearchEdit = 3008;
constexpr int kIdDatePicker = 3009;
constexpr int kIdServiceButton = 3010;
constexpr int kIdServiceCombo = 3011;
constexpr int kIdTabStrip = 3100;
constexpr int kIdPageDownButton = 8067;
constexpr int kIdPageUpButton = 8068;
constexpr int kIdPrintButton = 8069;
constexpr int kIdSaveAsButton = 8070;
constexpr int kIdShowTypeButton = 25458;
// Grids: their ids are free (the view tells them apart by pointer); one per mode.
constexpr int kIdFirstGrid = 3200;

// Commands.
constexpr int kCmdRecoverHeadline = 2050;
constexpr int kCmdRecoverStory = 2051;
constexpr int kCmdRecoverHeadlineTable = 2053;
constexpr int kCmdFirstService = 5050;
constexpr int kCmdLastService = 5060;
constexpr int kCmdChangeCategoryState = 5061;
constexpr int kCmdShowStory = 9270;
constexpr int kCmdPrintNews = 9271;
constexpr int kCmdSaveNews = 9272;

// Child views are created with this base plus their own id.
constexpr int kChildViewIdBase = 59648;
constexpr int kStoryPaneId = 1;
constexpr int kRelateQuoteViewId = 2;

// Timers.
constexpr unsigned kTimerRefresh = 1;
constexpr unsigned kRefreshDelayMs = 100;

// Function modes; the same number names the mode's headline list and grid slot.
constexpr int kModeAllNews = 0;
constexpr int kModeCategory = 1;
constexpr int kModeSymbol = 2;
constexpr int kModeSearch = 3;
constexpr int kModeRelation = 4;
constexpr int kModeWarrant = 5;
constexpr int kModeWarningSearch = 6;
constexpr int kModeCount = 7;

// Enabled-function mask bits.
constexpr unsigned kMaskAllNews = 0x01;
constexpr unsigned kMaskCategory = 0x02;
constexpr unsigned kMaskSymbol = 0x04;
constexpr unsigned kMaskSearch = 0x08;
constexpr unsigned kMaskWarrant = 0x20;
constexpr unsigned kMaskWarningSearch = 0x40;

// Services with fixed roles.
constexpr unsigned char kServiceStock = 16;
constexpr unsigned char kServiceHongKong = 22;
constexpr unsigned char kServiceWarrant = 52;   // the character '4'
constexpr unsigned char kServiceEmerging = 122; // the character 'z'

// Registered window messages.
inline constexpr const char* kMsgChangeSize = "RVMSG_CHANGESIZE";
inline constexpr const char* kMsgChangeSymbolBySearch = "RVMSGCHANGESYMBOLBYSEARCH";
inline constexpr const char* kMsgSymbolUpdateTreeDlg = "MSG_SYMBOLUPDATE_TREEDLG";

// The view key of the settings store.
inline constexpr const char* kViewKey = "TRVNewsCtrlView";

} // namespace news
