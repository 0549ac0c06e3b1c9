// The catalogue, as sswseFillErrMsg of the shipped library writes it.
#include "tests/support/library_copy.h"

#include <gtest/gtest.h>

#include <string>

TEST(Catalogue, EveryMessageComesBackByteForByte)
{
    // Of every message with these inserts. A text that is changed on purpose changes it; the list is in the failure.
    constexpr uint64_t fingerprint = 8537893505061120821u;
    const support::LibraryCopy library;
    const auto fill = EXPORT_OF(library, sswseFillErrMsg);
    std::string all;
    size_t count = 0;
    for (const DWORD severity : {SSWSE_INFORMATIONAL_MESSAGE(0), SSWSE_ERROR_MESSAGE(0)})
        for (DWORD id = severity; id < severity + 80; ++id) {
            sswseErrRec rec = {};
            fill(&rec, id, 0, "routine", "api", "first", "C:\\second %1 %n", "th\xEFrd");
            EXPECT_STREQ(rec.oserror, "");
            if (std::string(rec.message) == " ") // there is none
                continue;
            all += std::to_string(id) + rec.message;
            ++count;
        }
    uint64_t hash = 14695981039346656037u; // FNV-1a
    for (const char character : all)
        hash = (hash ^ static_cast<unsigned char>(character)) * 1099511628211u;
    EXPECT_EQ(count, 68u);
    EXPECT_EQ(hash, fingerprint) << all;
}
