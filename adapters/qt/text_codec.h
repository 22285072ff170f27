#pragma once

#include <QString>
#include <string_view>

#include "host/backend/news_records.h"

// Code page 950 text of the module <-> Unicode where a person sees it. The conversion uses
// the toolkit's ICU converter for Microsoft's table ("windows-950", else "Big5"); ICU's
// "CP950" is IBM's table and loses the euro sign and some ideographs, so it is never used.
// When no such converter exists the host's own generated table does the work.
// Malformed input never fails: it decodes to replacement characters, and characters
// without a code page 950 form encode as '?'. Thread: any thread.
namespace qthost {

QString toQString(std::string_view cp950Text);
CString fromQString(const QString& text);

enum class CodecKind { kToolkit, kBuiltInTable };
CodecKind codecKind();
// The converter name in use, for diagnostics ("windows-950", "Big5" or "built-in").
const char* codecName();

} // namespace qthost
