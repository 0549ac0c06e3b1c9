#include "frame/message_module.h"

#include "frame/files.h"
#include "frame/format.h"
#include "frame/owned.h"
#include "keswsec.h"

#include <atomic>

namespace {

std::atomic<HMODULE> messageModule;

struct LanguageRow
{
    LANGID language;
    const char* code;
};

constexpr LanguageRow wholeLanguages[] = {
    {0x0804, "ZHS"}, {0x1004, "ZHS"}, {0x0404, "ZHT"}, {0x0C04, "ZHT"}, {0x1404, "ZHT"}, {0x0416, "PTB"},
};

constexpr LanguageRow primaryLanguages[] = {
    {LANG_ARABIC, "AR"},    {LANG_CHINESE, "ZHS"}, {LANG_CZECH, "CS"},      {LANG_DANISH, "DK"},   {LANG_GERMAN, "D"},
    {LANG_GREEK, "EL"},     {LANG_SPANISH, "E"},   {LANG_FINNISH, "SF"},    {LANG_FRENCH, "F"},    {LANG_HEBREW, "IW"},
    {LANG_HUNGARIAN, "HU"}, {LANG_ITALIAN, "I"},   {LANG_JAPANESE, "JA"},   {LANG_KOREAN, "KO"},   {LANG_DUTCH, "NL"},
    {LANG_NORWEGIAN, "N"},  {LANG_POLISH, "PL"},   {LANG_PORTUGUESE, "PT"}, {LANG_ROMANIAN, "RO"}, {LANG_RUSSIAN, "RU"},
    {LANG_SLOVAK, "SK"},    {LANG_SWEDISH, "S"},   {LANG_THAI, "TH"},       {LANG_TURKISH, "TR"},
};

template <size_t N>
const char* codeIn(const LanguageRow (&rows)[N], LANGID language)
{
    for (const LanguageRow& row : rows)
        if (row.language == language)
            return row.code;
    return nullptr;
}

// Names the module of a language beside the library and opens it, which tells whether it is there.
owned::Handle probe(char (&path)[MAX_PATH], char* directoryEnd, const char* languageCode)
{
    char fileName[32];
    sswseFormatText(fileName, "%s%s%s", "KESWSECMSG", languageCode, ".DLL");
    sswseNameBeside(path, directoryEnd, fileName);
    return sswseOpenToRead(path);
}

} // namespace

const char* sswseLanguageCodeOf(LANGID language)
{
    if (const char* code = codeIn(wholeLanguages, language))
        return code;
    if (const char* code = codeIn(primaryLanguages, PRIMARYLANGID(language)))
        return code;
    return "US";
}

const char* sswseGetLanguageCode()
{
    return sswseLanguageCodeOf(GetUserDefaultLangID());
}

DWORD sswseLoadMessageModule()
{
    char path[MAX_PATH];
    const HMODULE self = sswseOwnModule();
    if (!self)
        return SSWSE_FAILURE;
    char* const directoryEnd = sswseOwnDirectoryEnd(self, path);
    if (!directoryEnd &&
        GetLastError() != ERROR_INSUFFICIENT_BUFFER) // a path too long for the others still has its own
        return SSWSE_FAILURE;

    owned::Handle file = directoryEnd ? probe(path, directoryEnd, sswseGetLanguageCode()) : nullptr;
    if (directoryEnd && !file)
        file = probe(path, directoryEnd, "US");
    HMODULE found = file ? LoadLibraryExA(path, nullptr, LOAD_LIBRARY_AS_DATAFILE) : nullptr;
    messageModule.store(found ? found : self);
    return SSWSE_SUCCESS;
}

HMODULE sswseMessageModule()
{
    if (!messageModule.load())
        static_cast<void>(sswseLoadMessageModule());
    return messageModule.load();
}
