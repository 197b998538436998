#include "dmFontSearchImp.h"

#include "dmUtf8.h"

#include <filesystem>

#ifdef ZR_FONTCONFIG
#include <dlfcn.h>
#include <fontconfig/fontconfig.h>

#include <memory>
#include <mutex>
#endif

namespace
{

/// Empty for what no file and no font can be called: text with zeros, or that is no text.
std::string systemName(const DmString& name)
{
    std::string bytes;
    const bool usable = name.view().find(L'\0') == std::wstring_view::npos && dmToUtf8(name.view(), bytes);
    return usable ? bytes : std::string();
}

#ifdef ZR_FONTCONFIG

/// The functions of fontconfig, which is loaded when a font is first looked up, and stays: loading it and its libraries
/// took half a millisecond and 0.6 MB of every program's start.
struct Fontconfig
{
    decltype(&FcPatternCreate) patternCreate;
    decltype(&FcPatternDestroy) patternDestroy;
    decltype(&FcPatternAddString) addString;
    decltype(&FcPatternAddInteger) addInteger;
    decltype(&FcPatternGetString) getString;
    decltype(&FcDefaultSubstitute) substitute;
    decltype(&FcFontMatch) match;
    decltype(&FcFontList) list;
    decltype(&FcFontSetDestroy) fontSetDestroy;
    decltype(&FcObjectSetCreate) objectSetCreate;
    decltype(&FcObjectSetAdd) objectSetAdd;
    decltype(&FcObjectSetDestroy) objectSetDestroy;
    decltype(&FcStrCmpIgnoreCase) compare;

    bool isLoaded;

    Fontconfig()
    {
        void* const library = dlopen("libfontconfig.so.1", RTLD_NOW | RTLD_LOCAL);
        const auto find = [library]<class Function>(const char* name, Function*& function)
        {
            function = library ? reinterpret_cast<Function*>(dlsym(library, name)) : nullptr;
            return function != nullptr;
        };
        isLoaded = find("FcPatternCreate", patternCreate) && find("FcPatternDestroy", patternDestroy) &&
                   find("FcPatternAddString", addString) && find("FcPatternAddInteger", addInteger) &&
                   find("FcPatternGetString", getString) && find("FcDefaultSubstitute", substitute) &&
                   find("FcFontMatch", match) && find("FcFontList", list) && find("FcFontSetDestroy", fontSetDestroy) &&
                   find("FcObjectSetCreate", objectSetCreate) && find("FcObjectSetAdd", objectSetAdd) &&
                   find("FcObjectSetDestroy", objectSetDestroy) && find("FcStrCmpIgnoreCase", compare);
    }
};

const Fontconfig& fontconfig()
{
    static const Fontconfig loaded;
    return loaded;
}

struct Release
{
    void operator()(FcPattern* pattern) const { fontconfig().patternDestroy(pattern); }
    void operator()(FcFontSet* fonts) const { fontconfig().fontSetDestroy(fonts); }
    void operator()(FcObjectSet* objects) const { fontconfig().objectSetDestroy(objects); }
};
using Pattern = std::unique_ptr<FcPattern, Release>;

const FcChar8* fcText(const std::string& text)
{
    return reinterpret_cast<const FcChar8*>(text.c_str());
}

/// Null when there is no such value.
const char* stringOf(const FcPattern& font, const char* object, int index)
{
    FcChar8* text = nullptr;
    return fontconfig().getString(&font, object, index, &text) == FcResultMatch ? reinterpret_cast<const char*>(text)
                                                                                : nullptr;
}

bool sameFamily(std::string a, std::string b)
{
    std::erase(a, ' ');
    std::erase(b, ' ');
    return fontconfig().compare(fcText(a), fcText(b)) == 0;
}

bool hasFamily(const FcPattern& font, const std::string& family)
{
    for (int i = 0; const char* const name = stringOf(font, FC_FAMILY, i); ++i)
        if (sameFamily(name, family))
            return true;
    return false;
}

/// The family's font that comes closest to the style. Fontconfig answers the closest font of all, so the family has to
/// be looked at again.
std::string fileOfFamily(const std::string& family, const DmFontFace& face)
{
    const Pattern wanted(fontconfig().patternCreate());
    fontconfig().addString(wanted.get(), FC_FAMILY, fcText(family));
    fontconfig().addInteger(wanted.get(), FC_WEIGHT, face.bold ? FC_WEIGHT_BOLD : FC_WEIGHT_REGULAR);
    fontconfig().addInteger(wanted.get(), FC_SLANT, face.italic ? FC_SLANT_ITALIC : FC_SLANT_ROMAN);
    if (!face.style.empty())
        fontconfig().addString(wanted.get(), FC_STYLE, fcText(systemName(face.style)));
    fontconfig().substitute(wanted.get());
    FcResult result = FcResultMatch;
    const Pattern font(fontconfig().match(nullptr, wanted.get(), &result));
    const char* const file = font && hasFamily(*font, family) ? stringOf(*font, FC_FILE, 0) : nullptr;
    return file ? file : std::string();
}

/// The first font that has the name as the given one of its names.
std::string fileOfFont(const char* object, const std::string& name)
{
    const Pattern wanted(fontconfig().patternCreate());
    fontconfig().addString(wanted.get(), object, fcText(name));
    const std::unique_ptr<FcObjectSet, Release> answer(fontconfig().objectSetCreate());
    fontconfig().objectSetAdd(answer.get(), FC_FILE);
    const std::unique_ptr<FcFontSet, Release> fonts(fontconfig().list(nullptr, wanted.get(), answer.get()));
    const char* const file = fonts && fonts->nfont > 0 ? stringOf(*fonts->fonts[0], FC_FILE, 0) : nullptr;
    return file ? file : std::string();
}

#endif

} // namespace

bool dmIsFontFile(const DmString& path)
{
    const std::string name = systemName(path);
    std::error_code error;
    return !name.empty() && std::filesystem::is_regular_file(name, error);
}

#ifdef ZR_FONTCONFIG

DmString dmFindInstalledFont(const DmFontFace& face)
{
    const std::string name = systemName(face.name);
    if (name.empty())
        return {};
    static std::mutex mutex; // the first call reads the system's configuration
    const std::lock_guard guard(mutex);
    if (!fontconfig().isLoaded)
        return {};
    std::string file = fileOfFamily(name, face);
    if (file.empty())
        file = fileOfFont(FC_POSTSCRIPT_NAME, name);
    if (file.empty())
        file = fileOfFont(FC_FULLNAME, name);
    DmString path;
    return dmFromUtf8(file, path) ? path : DmString();
}

#else

DmString dmFindInstalledFont(const DmFontFace& /*face*/)
{
    return {};
}

#endif
