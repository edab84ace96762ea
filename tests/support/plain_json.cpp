// SPDX-License-Identifier: GPL-3.0-or-later
#include "tests/support/plain_json.h"

#include <algorithm>
#include <cstddef>

#include "base/text_encoding.h"

namespace vistrel::test {
namespace {

// Every function takes its part from the front of `rest` and tells whether it was there.
class Reader {
  public:
    explicit Reader(std::string_view text) : rest_(text) {}

    bool Whole() { return Value() && rest_.empty(); }

  private:
    bool Take(char character) {
        if (!rest_.starts_with(character)) return false;
        rest_.remove_prefix(1);
        return true;
    }

    bool TakeOneOf(std::string_view characters) {
        if (rest_.empty() || characters.find(rest_.front()) == characters.npos) return false;
        rest_.remove_prefix(1);
        return true;
    }

    bool Word(std::string_view word) {
        if (!rest_.starts_with(word)) return false;
        rest_.remove_prefix(word.size());
        return true;
    }

    void Blanks() {
        while (TakeOneOf(" \t\n\r")) {
        }
    }

    bool Digits() {
        const std::size_t count = std::min(rest_.find_first_not_of("0123456789"), rest_.size());
        rest_.remove_prefix(count);
        return count > 0;
    }

    bool Number() {
        Take('-');
        if (!Take('0') && !Digits()) return false;
        if (Take('.') && !Digits()) return false;
        if (!TakeOneOf("eE")) return true;
        TakeOneOf("+-");
        return Digits();
    }

    bool Escape() {
        if (TakeOneOf("\"\\/bfnrt")) return true;
        if (!Take('u')) return false;
        for (int i = 0; i < 4; ++i) {
            if (!TakeOneOf("0123456789abcdefABCDEF")) return false;
        }
        return true;
    }

    bool Text() {
        if (!Take('"')) return false;
        while (!Take('"')) {
            if (Take('\\')) {
                if (!Escape()) return false;
                continue;
            }
            if (rest_.empty() || static_cast<unsigned char>(rest_.front()) < ' ') return false;
            rest_.remove_prefix(1);
        }
        return true;
    }

    bool Member() {
        Blanks();
        if (!Text()) return false;
        Blanks();
        return Take(':') && Value();
    }

    bool Object() {
        Blanks();
        if (Take('}')) return true;
        do {
            if (!Member()) return false;
        } while (Take(','));
        return Take('}');
    }

    bool Array() {
        Blanks();
        if (Take(']')) return true;
        do {
            if (!Value()) return false;
        } while (Take(','));
        return Take(']');
    }

    // With the blanks around it.
    bool Value() {
        Blanks();
        bool there = false;
        if (Take('{')) {
            there = Object();
        } else if (Take('[')) {
            there = Array();
        } else if (rest_.starts_with('"')) {
            there = Text();
        } else {
            there = Word("true") || Word("false") || Word("null") || Number();
        }
        Blanks();
        return there;
    }

    std::string_view rest_;
};

// Wide texts hold bytes that are no UTF-8 as lone codes.
bool IsUtf8(std::string_view bytes) {
    return std::ranges::none_of(FromUtf8(bytes), [](wchar_t character) {
        return character >= L'\xDC80' && character <= L'\xDCFF';
    });
}

}  // namespace

bool IsJson(std::string_view text) {
    return IsUtf8(text) && Reader(text).Whole();
}

}  // namespace vistrel::test
