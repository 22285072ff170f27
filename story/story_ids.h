#pragma once

// Identifiers and language keys of the story displays and the tip message window.
namespace story {

// The story pane and the story window.
constexpr int kIdStoryDialog = 8065;
constexpr int kIdTitle = 8066;
constexpr int kIdPrevButton = 8067;
constexpr int kIdNextButton = 8068;
constexpr int kIdPrintButton = 8069;
constexpr int kIdSaveAsButton = 8070;
// The story control, in the pane and in the window: it also takes the "being updated" notice.
constexpr int kIdStory = 8072;

// Style of both story rich edits: border, vertical scroll bar, multi-line, read-only,
// scrolling down by itself.
constexpr unsigned kStoryEditStyle = 0x00A00844u;

// The tip message window.
constexpr int kIdTipDialog = 3059;
constexpr int kIdTipText = 2349;
constexpr unsigned kTimerTipPlace = 29062;
constexpr unsigned kTimerTipCountDown = 29063;
constexpr unsigned kTipPlaceMs = 100;
constexpr unsigned kTipCountDownMs = 1000;

// Language keys.
inline constexpr const char* kKeyRecover = "IDS_NEWSCTRLVIEW_STRING_RECOVER";
inline constexpr const char* kKeyClosingRemark = "IDS_NEWSCTRLVIEW_STRING_PS";
inline constexpr const char* kKeyNoStory = "IDS_NEWSCTRLVIEW_STRING_NO_NEWS_STORY";
inline constexpr const char* kKeyWaitForUpdate = "IDS_NEWSCTRLVIEW_STRING_WAIT_FOR_UPDATE";
inline constexpr const char* kKeyReplaceTerm = "IDS_NEWSCTRLVIEW_STRING_REPLASE_NEWS";
inline constexpr const char* kKeyReplacement = "IDS_NEWSCTRLVIEW_STRING_REPLASE_MESSAGE";

// Colour keys.
inline constexpr const char* kColorText = "COLOR_LISTCTL_NORMALTEXT";
inline constexpr const char* kColorBackground = "COLOR_LISTCTL_BACKGROUND";

} // namespace story
