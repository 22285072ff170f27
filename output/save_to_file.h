#pragma once

#include "output/news_print.h"

namespace host {
class CStdioFile;
}

// The news view's saver: takes the printer's items and its waiting queue, and writes the
// stories to a text file the user names instead of printing them.
// Ownership and thread: as TRVNewsPrint.
class TRVSaveToFile : public TRVNewsPrint {
public:
    TRVSaveToFile() : TRVNewsPrint(nullptr) {}
    // parent: the view whose window owns the save dialog when no other parent is given.
    explicit TRVSaveToFile(TRVVirtualBaseView* parent) : TRVNewsPrint(parent) {}

    // The saver's print is its save: asks for a file name and writes every item to it. A file
    // that exists is replaced without a question; an empty list gives an empty file.
    void Print(const NewsPrintList& items, host::ui::Window* parent) override;

    // Writes the items to an open file in the saved layout.
    static void vWriteItems(host::CStdioFile& file, const NewsPrintList& items);
};
