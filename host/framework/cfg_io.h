#pragma once

#include <string>

#include "host/backend/news_records.h"

// The host's layout store: per-view settings addressed by section, two layout numbers, the
// view key and the setting key. Values are text (code page 950); the typed helpers encode
// numbers in decimal and booleans as "1"/"0".
// Ownership: the host owns the store and lends it to a view for InitialViewInfo/SaveViewInfo.
// Thread: UI thread.
class TRVCfgIO2 {
public:
    virtual ~TRVCfgIO2() = default;

    // false when the key is absent (value unchanged).
    virtual bool GetViewInfo(const CString& section, int layout1, int layout2, const CString& viewKey,
                             const CString& key, CString& value) const = 0;
    virtual void SetViewInfo(const CString& section, int layout1, int layout2, const CString& viewKey,
                             const CString& key, const CString& value) = 0;

    bool GetViewInfoInt(const CString& section, int layout1, int layout2, const CString& viewKey, const CString& key,
                        int& value) const;
    bool GetViewInfoBool(const CString& section, int layout1, int layout2, const CString& viewKey, const CString& key,
                         bool& value) const;
    void SetViewInfoInt(const CString& section, int layout1, int layout2, const CString& viewKey, const CString& key,
                        int value);
    void SetViewInfoBool(const CString& section, int layout1, int layout2, const CString& viewKey, const CString& key,
                         bool value);
};
