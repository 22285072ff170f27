// The saver: the save dialog and the byte layout of a saved news file.
#include "output/save_to_file.h"

#include <string>
#include <string_view>

#include "host/backend/bk_quote_interface.h"
#include "host/framework/host_context.h"
#include "host/framework/stdio_file.h"
#include "host/text/format.h"
#include "host/ui/ui_host.h"
#include "output/news_output_text.h"

namespace {

constexpr const char* kFilterKey = "IDS_NEWSCTRLVIEW_STRING_FILE_FILTER";
constexpr const char* kNumberKey = "IDS_NEWSCTRLVIEW_NEWS_NO";
constexpr const char* kTitleLabelKey = "IDS_NEWSCTRLVIEW_STRING_NEWS_TITLE";
constexpr const char* kStoryLabelKey = "IDS_NEWSCTRLVIEW_NEWS_STORY";
constexpr const char* kFilterPatterns = "(*.txt)|*.txt||";
constexpr const char* kDefaultExtension = "txt";
// OFN_HIDEREADONLY | OFN_NOCHANGEDIR | OFN_EXTENSIONDIFFERENT. Kept: no overwrite prompt.
constexpr unsigned kSaveDialogFlags = 0x040C;
constexpr std::string_view kSeparator =
    "--------------------------------------------------------------------------------\n";
// Service 0 is asked whether to convert, whatever service the item comes from (kept).
constexpr unsigned char kConversionService = 0;

// The text converted to simplified characters when the back end asks for it for service 0.
CString cszConverted(BKQuoteInterface* bk, const CString& text) {
    const unsigned char service = kConversionService;
    if (bk == nullptr || !bk->LangIsConvertToSimplified(service)) {
        return text;
    }
    CString converted;
    return bk->LangConvertToSimplifiedChinese(text, converted) ? converted : text;
}

void vWriteTitle(host::CStdioFile& file, CString title) {
    title += "\n\n";
    std::string_view rest = title;
    bool cut = false;
    while (rest.size() > news_output::kLineBytes) {
        file.WriteString(std::string(rest.substr(0, news_output::kLineBytes)) + "\n");
        rest.remove_prefix(news_output::kLineBytes);
        cut = true;
    }
    // Kept: once a piece was cut off, the rest of the title is left out.
    if (!cut) {
        file.WriteString(rest);
    }
}

void vWriteStory(host::CStdioFile& file, CString story, const CString& label) {
    story += "\n\n";
    file.WriteString(label);
    std::string_view rest = story;
    while (rest.size() > news_output::kLineBytes) {
        const std::size_t length = news_output::iBodyLineLength(rest);
        // Kept: "\r\n" after each line; the text-mode file writes it as CR CR LF.
        file.WriteString(std::string(rest.substr(0, length)) + "\r\n");
        rest.remove_prefix(length);
    }
    file.WriteString(rest);
}

} // namespace

void TRVSaveToFile::Print(const NewsPrintList& items, host::ui::Window* parent) {
    host::ui::UiHost* ui = host::HostContext::current().ui;
    if (ui == nullptr) {
        return;
    }
    const CString filter = cszLang(kFilterKey) + kFilterPatterns;
    std::string path;
    if (!ui->dialogs().saveFileDialog(pDialogParent(parent), filter, kDefaultExtension, kSaveDialogFlags, path)) {
        return;
    }
    // A file that cannot be written is reported by the file itself, and the calls after the
    // failure do nothing: the saver needs no handling of its own.
    host::CStdioFile file;
    file.Open(path);
    vWriteItems(file, items);
    file.Close();
}

void TRVSaveToFile::vWriteItems(host::CStdioFile& file, const NewsPrintList& items) {
    BKQuoteInterface* bk = BKQuoteInterface::GetBKInterface();
    const CString numberLabel = cszLang(kNumberKey);
    const CString titleLabel = cszLang(kTitleLabelKey);
    const CString storyLabel = cszLang(kStoryLabelKey);
    for (const NewsPrintItem& item : items) {
        file.WriteString(text::format(" %s %d", numberLabel.c_str(), item.m_entry.m_iSeqNo) + "\n\n");
        file.WriteString(titleLabel);
        vWriteTitle(file, cszConverted(bk, item.m_strTitle));
        vWriteStory(file, cszConverted(bk, item.m_strStory), storyLabel);
        file.WriteString(kSeparator);
    }
}
