#include "embedded_backend/chinese_text.h"

#include <algorithm>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include <opencc.h>

#include "host/text/cp950.h"

namespace embedded {

namespace {

// One OpenCC converter, opened on first use. Calls are serialised: the converters are shared
// by the feed threads and the UI thread.
class OpenCc {
public:
    explicit OpenCc(const char* config) : m_config(config) {}
    ~OpenCc() {
        if (m_handle != kInvalid) {
            opencc_close(m_handle);
        }
    }
    OpenCc(const OpenCc&) = delete;
    OpenCc& operator=(const OpenCc&) = delete;

    // False when the converter cannot be opened (OpenCC's data missing).
    bool convert(std::string_view in, std::string& out) {
        std::lock_guard lock(m_mutex);
        if (!m_tried) {
            m_tried = true;
            m_handle = opencc_open(m_config);
        }
        if (m_handle == kInvalid) {
            return false;
        }
        char* converted = opencc_convert_utf8(m_handle, in.data(), in.size());
        if (converted == nullptr) {
            return false;
        }
        out.assign(converted);
        opencc_convert_utf8_free(converted);
        return true;
    }

private:
    static inline const opencc_t kInvalid = reinterpret_cast<opencc_t>(-1);
    const char* m_config;
    std::mutex m_mutex;
    bool m_tried = false;
    opencc_t m_handle = kInvalid;
};

OpenCc& simplifiedToTraditional() {
    static OpenCc converter("s2tw.json");
    return converter;
}
OpenCc& traditionalToSimplified() {
    static OpenCc converter("t2s.json");
    return converter;
}

bool isAscii(std::string_view text) {
    for (const char c : text) {
        if (static_cast<unsigned char>(c) >= 0x80) {
            return false;
        }
    }
    return true;
}

// Length of the UTF-8 sequence that starts with lead; 0 for a byte no sequence starts with.
std::size_t sequenceLength(unsigned char lead) {
    if (lead < 0x80) {
        return 1;
    }
    if (lead >= 0xC2 && lead <= 0xDF) {
        return 2;
    }
    if (lead >= 0xE0 && lead <= 0xEF) {
        return 3;
    }
    if (lead >= 0xF0 && lead <= 0xF4) {
        return 4;
    }
    return 0;
}

// The code page 950 form of one UTF-8 character; empty when it has none.
CString encodeOne(std::string_view character) {
    CString encoded = cp950::fromUtf8(character);
    if (encoded.find('?') != CString::npos) {
        return {};
    }
    return encoded;
}

// Splits UTF-8 text into characters; a broken sequence (a lead byte and the continuation
// bytes after it, or a stray continuation byte) is one piece, marked as broken.
struct Piece {
    std::string_view bytes;
    bool broken = false;
};
std::vector<Piece> characters(std::string_view text) {
    std::vector<Piece> out;
    while (!text.empty()) {
        std::size_t length = sequenceLength(static_cast<unsigned char>(text.front()));
        bool wellFormed = length != 0 && length <= text.size();
        for (std::size_t i = 1; wellFormed && i < length; ++i) {
            wellFormed = (static_cast<unsigned char>(text[i]) & 0xC0) == 0x80;
        }
        if (!wellFormed) {
            length = 1;
            while (length < text.size() && (static_cast<unsigned char>(text[length]) & 0xC0) == 0x80) {
                ++length;
            }
        }
        out.push_back(Piece{text.substr(0, length), !wellFormed});
        text.remove_prefix(length);
    }
    return out;
}

} // namespace

Big5Text toBig5(std::string_view utf8) {
    Big5Text result;
    if (isAscii(utf8)) {
        result.text = CString(utf8);
        return result;
    }
    static const CString mark = cp950::fromUtf8(kReplacementMarkUtf8);
    const std::vector<Piece> original = characters(utf8);
    std::vector<CString> encoded(original.size());
    bool missing = false;
    for (std::size_t i = 0; i < original.size(); ++i) {
        if (!original[i].broken) {
            encoded[i] = encodeOne(original[i].bytes);
        }
        missing = missing || encoded[i].empty();
    }
    if (missing) {
        // Characters without a Big5 form are mostly Simplified: their Traditional form (OpenCC,
        // which reads the whole text so that phrases choose the right character) takes their
        // place. Characters that have a Big5 form stay as written (台 stays 台).
        std::string traditional;
        std::vector<Piece> converted;
        if (simplifiedToTraditional().convert(utf8, traditional)) {
            converted = characters(traditional);
        }
        const bool aligned = converted.size() == original.size();
        for (std::size_t i = 0; i < original.size(); ++i) {
            if (!encoded[i].empty() || original[i].broken) {
                continue;
            }
            std::string single;
            if (aligned) {
                encoded[i] = encodeOne(converted[i].bytes);
            } else if (simplifiedToTraditional().convert(original[i].bytes, single)) {
                encoded[i] = encodeOne(single);
            }
        }
    }
    for (const CString& piece : encoded) {
        if (piece.empty()) {
            result.text += mark;
            ++result.replaced;
        } else {
            result.text += piece;
        }
    }
    return result;
}

bool toSimplified(const CString& cp950Text, CString& out) {
    out = cp950Text;
    if (isAscii(cp950Text)) {
        return true;
    }
    std::string probe;
    if (!traditionalToSimplified().convert("", probe)) {
        return false;
    }
    CString converted;
    const std::string_view text = cp950Text;
    for (std::size_t at = 0; at < text.size();) {
        const std::size_t length = std::max<std::size_t>(1, cp950::charLength(text, at));
        const std::string_view original = text.substr(at, length);
        at += original.size();
        std::string simplified;
        CString encoded;
        if (static_cast<unsigned char>(original.front()) >= 0x80 &&
            traditionalToSimplified().convert(cp950::toUtf8(original), simplified)) {
            encoded = encodeOne(simplified);
        }
        converted += encoded.empty() ? CString(original) : encoded;
    }
    out = std::move(converted);
    return true;
}

} // namespace embedded
