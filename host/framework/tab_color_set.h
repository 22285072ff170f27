#pragma once

#include "host/backend/news_records.h"

namespace host::ui {
class TabStrip;
}

// The host's colour set for tab strips: the tab text, the strip background and the selected
// tab, taken from the host's named colours when the set is made, so a new set follows a
// changed colour scheme. SetColorSet hands it to a strip's painting.
// Ownership: a value; the strip keeps the colours, not the set. Thread: UI thread.
class TRVTabColorSet {
public:
    TRVTabColorSet();

    COLORREF Text() const { return m_crText; }
    COLORREF Background() const { return m_crBackground; }
    COLORREF Selected() const { return m_crSelected; }
    void SetColorSet(host::ui::TabStrip& strip) const;

private:
    COLORREF m_crText = 0;
    COLORREF m_crBackground = 0;
    COLORREF m_crSelected = 0;
};
