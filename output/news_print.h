#pragma once

#include <cstddef>
#include <vector>

#include "headline_list/local_day_cache.h"
#include "host/backend/news_records.h"
#include "output/news_print_item.h"
#include "output/pending_output_lists.h"

class TRVVirtualBaseView;
namespace host::ui {
class DeviceContext;
class Window;
} // namespace host::ui

// The news view's printer: lays print items out on the printer page by page, and keeps the
// requests whose titles or stories are still on their way until the back end delivers them.
// Ownership: owned by the news view; the parent view is not owned and outlives this object.
// Thread: UI thread. Printing runs the host's print dialog, which may run a nested event loop;
// answers that arrive meanwhile fill the queue but print nothing until the job is done.
class TRVNewsPrint {
public:
    // parent: the view whose window owns the dialogs when no other parent is given (may be null).
    explicit TRVNewsPrint(TRVVirtualBaseView* parent = nullptr);
    virtual ~TRVNewsPrint();
    TRVNewsPrint(const TRVNewsPrint&) = delete;
    TRVNewsPrint& operator=(const TRVNewsPrint&) = delete;

    // Asks for a printer and prints every item's story, page numbers restarting at 1 per story.
    // parent owns the print dialog; null: the parent view's window.
    virtual void Print(const NewsPrintList& items, host::ui::Window* parent);

    // Runs the job (Print, or the saver's save) with the busy flag held, then outputs the
    // waiting requests that became complete meanwhile.
    void vOutput(const NewsPrintList& items, host::ui::Window* parent);

    // ---- Waiting for data ----
    // Queues a request that lacks a title or a story.
    void vAddPending(NewsPrintList items);
    bool bHasPending() const { return !m_pending.empty(); }
    std::size_t iPendingCount() const { return m_pending.size(); }
    std::vector<const NewsPrintList*> vPendingLists() const { return m_pending.vLists(); }
    bool bIsBusy() const { return m_bBusy; }
    // Headlines became available: waiting items take the titles of the headlines the active
    // services hold for these entries; then complete requests are printed.
    void RespHeadLine(const std::vector<CHeadlineTable>& entries, const std::vector<unsigned char>& activeServices);
    // A story became available: waiting items equal to entry that have their titles take the
    // whole story with its date line; then complete requests are printed.
    void RespStory(const CHeadlineTable& entry);

protected:
    // The window that owns a dialog: the given one, else the parent view's window.
    host::ui::Window* pDialogParent(host::ui::Window* parent) const;
    // A language text through the back end (empty without one).
    static CString cszLang(const char* key);

    TRVVirtualBaseView* m_pParentView; // not owned

private:
    // Prints the complete requests, the last queued first, unless a job is running.
    void vOutputCompleteLists();
    // Lays one item out, page after page.
    void vPrintItem(host::ui::DeviceContext& dc, const NewsPrintItem& item, const CString& heading,
                    const CString& faceName);

    PendingOutputLists m_pending;
    bool m_bBusy = false;
    LocalDayCache m_days{LocalDayCache::ZoneChanges::Follow};
};
