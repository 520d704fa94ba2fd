#include "storage/filepathutil.h"

#include "foundation/debug.h"

#include <cstring>

namespace FilePathUtil
{
namespace
{
char FoldCase(char c)
{
    if (c >= 'A' && c <= 'Z')
        return char(c - 'A' + 'a');
    return c;
}

// The form in which two path characters are compared.
char FoldPath(char c)
{
    return c == '/' ? '\\' : FoldCase(c);
}

// Copies [begin, end) into a path buffer; false and "" when it does not fit.
bool CopyRange(char* out, const char* begin, const char* end)
{
    const size_t n = size_t(end - begin);
    if (n >= MAXPATH)
    {
        out[0] = '\0';
        return false;
    }
    std::memmove(out, begin, n);
    out[n] = '\0';
    return true;
}

// Appends `text` at `len` in a buffer of MAXPATH; false when it would not fit.
bool AppendText(char* buf, size_t& len, const char* text)
{
    const size_t n = std::strlen(text);
    if (n >= MAXPATH - len)
        return false;
    std::memcpy(buf + len, text, n + 1);
    len += n;
    return true;
}

bool AppendChar(char* buf, size_t& len, char c)
{
    if (len + 1 >= MAXPATH)
        return false;
    buf[len++] = c;
    buf[len] = '\0';
    return true;
}

// The last '.' of the file part, or null.
const char* FindExtensionDot(const char* fname)
{
    return std::strrchr(GetFilenamePtr(fname), '.');
}
} // namespace

bool IsSeparator(char c)
{
    return c == '\\' || c == '/';
}

bool HasSeparator(const char* name)
{
    if (!dbAssert(name != nullptr))
        return false;
    return std::strpbrk(name, "\\/") != nullptr;
}

bool HasAlias(const char* name)
{
    if (!dbAssert(name != nullptr))
        return false;
    const char* colon = std::strchr(name, ':');
    return colon != nullptr && colon - name >= 2;
}

bool HasExtension(const char* fname, const char* extension)
{
    if (!dbAssert(fname && extension))
        return false;
    if (*extension == '.')
        ++extension;
    const char* dot = FindExtensionDot(fname);
    if (dot == nullptr)
        return *extension == '\0';
    return Compare(dot + 1, extension) == 0;
}

const char* GetExtensionPtr(const char* fname)
{
    if (!dbAssert(fname != nullptr))
        return fname;
    const char* dot = FindExtensionDot(fname);
    return dot ? dot + 1 : fname;
}

char* GetExtensionPtr(char* fname)
{
    return const_cast<char*>(GetExtensionPtr(static_cast<const char*>(fname)));
}

const char* GetFilenamePtr(const char* fname)
{
    if (!dbAssert(fname != nullptr))
        return fname;
    const char* p = fname + std::strlen(fname);
    while (p != fname && !IsSeparator(p[-1]) && p[-1] != ':')
        --p;
    return p;
}

char* GetFilenamePtr(char* fname)
{
    return const_cast<char*>(GetFilenamePtr(static_cast<const char*>(fname)));
}

bool GetExtension(const char* fname, char* out)
{
    if (!dbAssert(fname && out))
        return false;
    const char* dot = FindExtensionDot(fname);
    if (dot == nullptr)
    {
        out[0] = '\0';
        return true;
    }
    return Copy(out, dot + 1);
}

bool GetBaseName(const char* fname, char* out)
{
    if (!dbAssert(fname && out))
        return false;
    const char* file = GetFilenamePtr(fname);
    const char* dot = std::strrchr(file, '.');
    return CopyRange(out, file, dot ? dot : file + std::strlen(file));
}

bool GetAlias(const char* name, char* out)
{
    if (!dbAssert(name && out))
        return false;
    const char* colon = std::strchr(name, ':');
    if (colon == nullptr)
    {
        out[0] = '\0';
        return true;
    }
    return CopyRange(out, name, colon);
}

bool GetFolder(const char* name, char* out)
{
    if (!dbAssert(name && out))
        return false;
    char buf[MAXPATH];
    if (!Copy(buf, name))
    {
        out[0] = '\0';
        return false;
    }
    Normalize(buf);
    const char* colon = std::strchr(buf, ':');
    const char* start = colon ? colon + 1 : buf;
    const char* end = std::strrchr(start, '\\');
    if (end == nullptr)
    {
        out[0] = '\0';
        return true;
    }
    return CopyRange(out, start, end);
}

bool SetExtension(char* fname, const char* extension)
{
    if (!dbAssert(fname != nullptr))
        return false;
    char* dot = const_cast<char*>(FindExtensionDot(fname));
    if (extension != nullptr && *extension == '.')
        ++extension;
    if (extension == nullptr || *extension == '\0')
    {
        if (dot)
            *dot = '\0';
        return true;
    }
    const size_t extLen = std::strlen(extension);
    const size_t stemLen = dot ? size_t(dot - fname) : std::strlen(fname);
    // The result is stem, '.', extension, and must leave room for the terminator.
    if (extLen >= MAXPATH - 1 - stemLen)
        return false;
    fname[stemLen] = '.';
    std::memmove(fname + stemLen + 1, extension, extLen + 1);
    return true;
}

bool SetFilename(char* path, const char* name)
{
    if (!dbAssert(path && name))
        return false;
    if (!dbAssert(!HasSeparator(name)))
        return false;
    char* file = GetFilenamePtr(path);
    const size_t folderLen = size_t(file - path);
    const size_t nameLen = std::strlen(name);
    if (nameLen >= MAXPATH - folderLen)
        return false;
    std::memmove(file, name, nameLen + 1);
    return true;
}

bool SetAlias(char* path, const char* alias)
{
    if (!dbAssert(path && alias))
        return false;
    const char* aliasColon = std::strchr(alias, ':');
    if (!dbAssert(*alias != '\0' && aliasColon != alias && (aliasColon == nullptr || aliasColon[1] == '\0')))
        return false;
    const char* pathColon = std::strchr(path, ':');
    const char* rest = pathColon ? pathColon + 1 : path;

    char buf[MAXPATH];
    buf[0] = '\0';
    size_t len = 0;
    if (!AppendText(buf, len, alias))
        return false;
    if (aliasColon == nullptr && !AppendChar(buf, len, ':'))
        return false;
    if (!AppendText(buf, len, rest))
        return false;
    Normalize(buf);
    std::memcpy(path, buf, std::strlen(buf) + 1);
    return true;
}

bool AddPathPrefix(char* path, const char* prefix)
{
    if (!dbAssert(path && prefix))
        return false;
    if (*prefix == '\0')
        return true;
    const char* file = GetFilenamePtr(path);
    char buf[MAXPATH];
    if (!CopyRange(buf, path, file))
        return false;
    size_t len = std::strlen(buf);
    if (!AppendText(buf, len, prefix))
        return false;
    if (!IsSeparator(buf[len - 1]) && !AppendChar(buf, len, '\\'))
        return false;
    if (!AppendText(buf, len, file))
        return false;
    std::memcpy(path, buf, len + 1);
    return true;
}

bool Join(char* dst, const char* folder, const char* name)
{
    if (!dbAssert(dst && folder && name))
        return false;
    char buf[MAXPATH];
    if (!Copy(buf, folder))
        return false;
    Normalize(buf);
    size_t len = std::strlen(buf);
    if (len > 0 && buf[len - 1] != '\\' && buf[len - 1] != ':' && !AppendChar(buf, len, '\\'))
        return false;
    if (!AppendText(buf, len, name))
        return false;
    std::memcpy(dst, buf, len + 1);
    return true;
}

bool Append(char* dst, const char* src, const char* name)
{
    if (!Join(dst, src, name))
        return false;
    Normalize(dst);
    return true;
}

bool Replace(char* fname, const char* searchFor, const char* replaceWith)
{
    if (!dbAssert(fname != nullptr) || !dbAssert(searchFor) ||
        !dbAssert(replaceWith && std::strlen(replaceWith) < MAXPATH))
        return false;
    if (*searchFor == '\0')
        return false;
    char buf[MAXPATH];
    if (!Copy(buf, fname))
        return false;
    Normalize(buf);
    const char* found = FindNoCase(buf, searchFor);
    if (found == nullptr)
        return false;
    const size_t headLen = size_t(found - buf);
    const size_t searchLen = std::strlen(searchFor);
    const size_t replaceLen = std::strlen(replaceWith);
    const size_t tailLen = std::strlen(found + searchLen);
    if (headLen + replaceLen + tailLen >= MAXPATH)
        return false;
    // `buf` holds the normalised name, so `fname` is rebuilt from it piece by piece.
    std::memcpy(fname, buf, headLen);
    std::memcpy(fname + headLen + replaceLen, found + searchLen, tailLen + 1);
    std::memcpy(fname + headLen, replaceWith, replaceLen);
    return true;
}

void Normalize(char* name)
{
    if (!dbAssert(name != nullptr))
        return;
    for (char* p = name; *p; ++p)
    {
        if (*p == '/')
            *p = '\\';
    }
    // A leading pair names a network server and stays; every later run of separators becomes one.
    size_t keep = (name[0] == '\\' && name[1] == '\\') ? 2 : 0;
    size_t w = keep;
    for (size_t r = keep; name[r]; ++r)
    {
        if (name[r] == '\\' && w > 0 && name[w - 1] == '\\')
            continue;
        name[w++] = name[r];
    }
    name[w] = '\0';
}

bool SplitPath(const char* fullpath, char* alias, char* folder, char* name, char* ext)
{
    if (!dbAssert(fullpath != nullptr))
        return false;
    char buf[MAXPATH + 1];
    const size_t len = std::strlen(fullpath);
    if (len > MAXPATH)
        return false;
    std::memcpy(buf, fullpath, len + 1);

    char* colon = std::strchr(buf, ':');
    char* rest = buf;
    bool ok = true;
    if (colon)
    {
        if (alias)
            ok &= CopyRange(alias, buf, colon);
        rest = colon + 1;
    }
    else if (alias)
        alias[0] = '\0';

    Normalize(rest);
    const char* file = GetFilenamePtr(rest);
    const char* dot = std::strrchr(file, '.');
    const char* end = rest + std::strlen(rest);
    if (folder)
        ok &= CopyRange(folder, rest, file);
    if (name)
        ok &= CopyRange(name, file, dot ? dot : end);
    if (ext)
        ok &= CopyRange(ext, dot ? dot : end, end);
    return ok;
}

bool MakePath(char* out, const char* alias, const char* folder, const char* name, const char* ext)
{
    if (!dbAssert(out != nullptr) || !dbAssert(alias != nullptr))
        return false;
    char buf[MAXPATH];
    buf[0] = '\0';
    size_t len = 0;
    if (*alias)
    {
        if (!AppendText(buf, len, alias))
            return false;
        if (buf[len - 1] != ':' && !AppendChar(buf, len, ':'))
            return false;
    }
    if (folder && *folder)
    {
        if (!AppendText(buf, len, folder))
            return false;
        if (!IsSeparator(buf[len - 1]) && buf[len - 1] != ':' && !AppendChar(buf, len, '\\'))
            return false;
    }
    if (name && !AppendText(buf, len, name))
        return false;
    if (ext && *ext)
    {
        if (*ext != '.' && !AppendChar(buf, len, '.'))
            return false;
        if (!AppendText(buf, len, ext))
            return false;
    }
    std::memcpy(out, buf, len + 1);
    return true;
}

int Compare(const char* a, const char* b)
{
    if (!dbAssert(a && b))
        return a ? 1 : (b ? -1 : 0);
    for (;; ++a, ++b)
    {
        const unsigned char ca = static_cast<unsigned char>(FoldPath(*a));
        const unsigned char cb = static_cast<unsigned char>(FoldPath(*b));
        if (ca != cb)
            return ca < cb ? -1 : 1;
        if (ca == '\0')
            return 0;
    }
}

bool Equal(const char* a, const char* b)
{
    return Compare(a, b) == 0;
}

bool HasPrefix(const char* name, const char* prefix)
{
    if (!dbAssert(name && prefix))
        return false;
    for (; *prefix; ++name, ++prefix)
    {
        if (*name == '\0' || FoldPath(*name) != FoldPath(*prefix))
            return false;
    }
    return true;
}

const char* FindNoCase(const char* text, const char* what)
{
    if (!dbAssert(text && what))
        return nullptr;
    for (const char* p = text;; ++p)
    {
        if (HasPrefix(p, what))
            return p;
        if (*p == '\0')
            return nullptr;
    }
}

void ToUpper(char* text)
{
    if (!dbAssert(text != nullptr))
        return;
    for (; *text; ++text)
    {
        if (*text >= 'a' && *text <= 'z')
            *text = char(*text - 'a' + 'A');
    }
}

void ToLower(char* text)
{
    if (!dbAssert(text != nullptr))
        return;
    for (; *text; ++text)
        *text = FoldCase(*text);
}

bool Copy(char* dst, const char* src)
{
    if (!dbAssert(dst && src))
        return false;
    const size_t n = std::strlen(src);
    if (n >= MAXPATH)
        return false;
    std::memmove(dst, src, n + 1);
    return true;
}

bool MatchSpec(const char* pattern, const char* name)
{
    if (!dbAssert(pattern && name))
        return false;
    if (std::strcmp(pattern, "*.*") == 0)
        return true;
    // Greedy match with one point of return: the last '*' seen and where its run began.
    const char* starPattern = nullptr;
    const char* starName = nullptr;
    while (*name)
    {
        if (*pattern == '*')
        {
            starPattern = ++pattern;
            starName = name;
        }
        else if (*pattern == '?' || (*pattern != '\0' && FoldCase(*pattern) == FoldCase(*name)))
        {
            ++pattern;
            ++name;
        }
        else if (starPattern)
        {
            pattern = starPattern;
            name = ++starName;
        }
        else
            return false;
    }
    while (*pattern == '*')
        ++pattern;
    return *pattern == '\0';
}
} // namespace FilePathUtil
