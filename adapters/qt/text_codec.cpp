#include "adapters/qt/text_codec.h"

#include <QByteArray>
#include <QStringDecoder>
#include <QStringEncoder>
#include <algorithm>

#include "host/text/cp950.h"

namespace qthost {
namespace {

struct CodecChoice {
    const char* name;
    CodecKind kind;
};

const CodecChoice& choice() {
    static const CodecChoice chosen = [] {
        for (const char* name : {"windows-950", "Big5"}) {
            if (QStringDecoder(name).isValid() && QStringEncoder(name).isValid()) {
                return CodecChoice{name, CodecKind::kToolkit};
            }
        }
        return CodecChoice{"built-in", CodecKind::kBuiltInTable};
    }();
    return chosen;
}

// True when the text ends in a lead byte without its trail byte.
bool endsInLoneLeadByte(std::string_view text) {
    std::size_t i = 0;
    while (i < text.size()) {
        if (cp950::isLeadByte(static_cast<unsigned char>(text[i]))) {
            if (i + 1 == text.size()) {
                return true;
            }
            i += 2;
        } else {
            ++i;
        }
    }
    return false;
}

bool isAscii(std::string_view text) {
    return std::all_of(text.begin(), text.end(), [](char c) { return static_cast<unsigned char>(c) < 0x80; });
}

} // namespace

CodecKind codecKind() {
    return choice().kind;
}
const char* codecName() {
    return choice().name;
}

QString toQString(std::string_view cp950Text) {
    // Most grid cells are times and codes: skip the converter for them.
    if (isAscii(cp950Text)) {
        return QString::fromLatin1(cp950Text.data(), static_cast<qsizetype>(cp950Text.size()));
    }
    if (choice().kind == CodecKind::kToolkit) {
        // Opening an ICU converter per call costs more than the conversion itself. Stateless:
        // a lead byte that ends the text decodes now instead of waiting for its trail byte.
        thread_local QStringDecoder decoder(choice().name, QStringConverter::Flag::Stateless);
        decoder.resetState();
        // The converter swallows a lead byte that ends the text; it shows as a replacement
        // character instead, as with any other malformed byte.
        const bool loneLead = endsInLoneLeadByte(cp950Text);
        const std::string_view whole = loneLead ? cp950Text.substr(0, cp950Text.size() - 1) : cp950Text;
        QString text = decoder.decode(QByteArrayView(whole.data(), static_cast<qsizetype>(whole.size())));
        if (loneLead) {
            text += QChar::ReplacementCharacter;
        }
        return text;
    }
    return QString::fromStdString(cp950::toUtf8(cp950Text));
}

CString fromQString(const QString& text) {
    if (choice().kind == CodecKind::kToolkit) {
        thread_local QStringEncoder encoder(choice().name, QStringConverter::Flag::Stateless);
        encoder.resetState();
        const QByteArray bytes = encoder.encode(text);
        return CString(bytes.constData(), static_cast<std::size_t>(bytes.size()));
    }
    return cp950::fromUtf8(text.toStdString());
}

} // namespace qthost
