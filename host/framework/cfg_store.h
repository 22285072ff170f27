#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

#include "host/framework/cfg_io.h"

// The layout store both hosts use: TRVCfgIO2 in memory, kept in a human-readable UTF-8 file
// with one setting per line and an end line that counts them, so that a file cut short is
// known as such:
//
//   # news layout store 2
//   section|layout1|layout2|viewKey|key = value
//   # end: 1 settings
//
// Files of format 1 (the same without the end line) are still read; a higher format is
// refused as written by a newer version.
// Lines are sorted by their key. Every byte of the texts survives: '%', '|', '=', control
// bytes and DEL are written as %XX, so are a blank and a '#' that start a field and a blank
// that ends one; a code page 950 character is written as UTF-8 when it converts there and back
// unchanged, and as %XX bytes otherwise (a lone lead byte, an unassigned code).
// Saving writes a temporary file in the same folder, flushes it and renames it over the old
// file, so a crash leaves either the old or the new file, never half of one; a temporary file a
// crash left behind is removed by a later save once it is a minute old.
// Ownership: the host owns the store. Thread: UI thread (saving blocks on the disk).
class CfgFileStore : public TRVCfgIO2 {
public:
    static constexpr std::string_view kHeader = "# news layout store 2";
    static constexpr int kFormat = 2;

    enum class LoadStatus { kLoaded, kMissing, kUnreadable, kDamaged, kTooNew };
    struct LoadResult {
        LoadStatus status = LoadStatus::kLoaded;
        std::string error;    // empty when loaded
        std::size_t line = 0; // the offending line of a damaged file, 1-based
        bool ok() const { return status == LoadStatus::kLoaded; }
    };

    bool GetViewInfo(const CString& section, int layout1, int layout2, const CString& viewKey, const CString& key,
                     CString& value) const override;
    void SetViewInfo(const CString& section, int layout1, int layout2, const CString& viewKey, const CString& key,
                     const CString& value) override;
    // false when the setting was absent.
    bool RemoveViewInfo(const CString& section, int layout1, int layout2, const CString& viewKey, const CString& key);

    struct Entry {
        CString section;
        int layout1 = 0;
        int layout2 = 0;
        CString viewKey;
        CString key;
        CString value;
        bool operator==(const Entry&) const = default;
    };
    // Every setting in file order.
    std::vector<Entry> entries() const;
    std::size_t size() const { return m_values.size(); }
    bool empty() const { return m_values.empty(); }
    void clear() { m_values.clear(); }

    // Replaces the content with the file's. A missing, unreadable or damaged file leaves the
    // store empty and says why (a damaged file names its line).
    LoadResult load(const std::string& path);
    LoadResult parse(std::string_view fileText);
    std::string serialize() const;
    // false (with the reason) when the file could not be written; the old file is then intact.
    bool save(const std::string& path, std::string* error = nullptr) const;

private:
    using Key = std::tuple<CString, int, int, CString, CString>;
    std::map<Key, CString> m_values;
};
