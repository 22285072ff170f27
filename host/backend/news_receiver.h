#pragma once

#include <vector>

#include "host/backend/news_records.h"
#include "host/backend/search.h"

// The callbacks a back end delivers to a view. Every operation does nothing by default.
// Thread: called on the UI thread only. Ownership: the back end never owns a receiver.
// Re-entrancy: a receiver may call synchronous back-end look-ups from inside a callback.
class NewsReceiver {
public:
    virtual ~NewsReceiver() = default;

    virtual void RecvNewHeadLine(const CHeadline* /*headline*/, const CString& /*categoryId*/,
                                 const CString& /*symbolCode*/) {}
    virtual void RespHeadLine(const std::vector<CHeadlineTable>& /*entries*/) {}
    virtual void RespStory(const CHeadlineTable& /*entry*/) {}
    virtual void StoryUpdateNotify(const CHeadlineTable* /*entry*/) {}
    virtual void RespSearchHeadLineTable(const CSearch& /*condition*/, unsigned char /*service*/) {}
    virtual void vRecvAllHeadlineTableRecovery(const CHeadlineTableInfo* /*info*/) {}
    virtual void vRecvCatHeadlineTableRecovery(const CHeadlineTableInfo* /*info*/) {}
    virtual void vRecvSymHeadlineTableRecovery(const CHeadlineTableInfo* /*info*/) {}
    virtual void vRecvNewsRelateSymbolListRecovery(const CNewsSymlistInfo* /*info*/) {}
    virtual void vRecvNewMarketStatus(const CMarketStatus* /*status*/) {}
    virtual void vRecvNewMemory(const CMemoryInfo* /*info*/) {}
    virtual void vRecvMemoryRecovery(const CMemoryInfo* /*info*/) {}
    virtual void vRecvMultiSymbolMemoryRecovery(const std::vector<CMemoryInfo>* /*infos*/) {}
};
