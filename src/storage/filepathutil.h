// Pure text functions on path names: the one path splitter and the one case-blind path compare of
// the system. Nothing here touches the disk; call these instead of writing a near twin.
//
// Conventions of every function below:
// - A path buffer is `char[MAXPATH]`: at most MAXPATH - 1 (259) characters and the terminator.
//   Functions that write into a caller's buffer never write more than MAXPATH bytes, and return
//   false (leaving the buffer as it was) when the result would not fit.
// - Both '\\' and '/' are separators on input; '\\' is the one produced by normalising.
// - An alias is the text before the first ':' ("DATA:art\\x.tga"). A one-letter prefix is a drive
//   ("C:\\x"), which `HasAlias` does not count, though the splitters hand it out like an alias.
// - On this platform a name that begins with a separator is absolute: normalising keeps that
//   leading separator. (The file path layer drops it from the relative part of an aliased name.)
// - The extension is searched in the file part only: a dot in a folder name is not an extension.
#pragma once

#include <cstddef>

namespace FilePathUtil
{
constexpr size_t MAXPATH = 260;

// '\\' or '/'.
bool IsSeparator(char c);
// True when `name` holds a '\\' or a '/'.
bool HasSeparator(const char* name);

// True when the first ':' stands at index 2 or later; a one-letter prefix is a drive, not an alias.
bool HasAlias(const char* name);

// Compares the extension of `fname` with `extension`, without regard to case; a leading '.' of
// `extension` is ignored. A name without extension matches only an empty `extension`.
bool HasExtension(const char* fname, const char* extension);

// The text behind the last '.' of the file part; `fname` itself when there is none.
const char* GetExtensionPtr(const char* fname);
char* GetExtensionPtr(char* fname);

// The text behind the last separator or ':'; `fname` itself when there is none.
const char* GetFilenamePtr(const char* fname);
char* GetFilenamePtr(char* fname);

// Copies one piece of `name` into `out` (a path buffer); an absent piece gives "".
// GetExtension: without the '.'. GetBaseName: the file part up to its last '.'.
// GetAlias: the text before the first ':'. GetFolder: of a normalised copy, the text between the
// first ':' (or the start) and the last '\\', without that '\\'.
bool GetExtension(const char* fname, char* out);
bool GetBaseName(const char* fname, char* out);
bool GetAlias(const char* name, char* out);
bool GetFolder(const char* name, char* out);

// A null or empty `extension` removes the extension. Otherwise it replaces what follows the last
// '.', or appends '.' and the extension; a leading '.' of `extension` is skipped.
bool SetExtension(char* fname, const char* extension);

// Replaces the file part of `path`, keeping its folder. `name` must hold no separator (assertion).
bool SetFilename(char* path, const char* name);

// Puts `alias` in front of `path` ("DATA" or "DATA:"), replacing an alias already there, and
// normalises. `alias` must be non-empty and may hold ':' only once, as its last character.
bool SetAlias(char* path, const char* alias);

// Inserts `prefix` and a '\\' before the file part: ("DATA:art\\x.tga", "low") gives
// "DATA:art\\low\\x.tga".
bool AddPathPrefix(char* path, const char* prefix);

// dst = normalised `folder`, a '\\' unless it already ends in a separator or ':' (or is empty),
// then `name`. Append normalises the result once more. `dst` may be the same buffer as `folder`.
bool Join(char* dst, const char* folder, const char* name);
bool Append(char* dst, const char* src, const char* name);

// Normalises `fname`, then replaces the first occurrence of `searchFor` with `replaceWith`. The
// search is case-blind; the rest of the name keeps its case. False when nothing was found or the
// result would not fit; `fname` is then unchanged.
bool Replace(char* fname, const char* searchFor, const char* replaceWith);

// In place: each '/' becomes '\\', and after a leading "\\\\" (kept, for network names) each
// doubled separator is reduced to one.
void Normalize(char* name);

// Breaks a name into alias (before the first ':', without it), folder (with its trailing '\\'),
// base name and extension (with its '.'). Each output is optional (null) and is a path buffer.
// The folder comes from a normalised copy, so MakePath(SplitPath(x)) is the normalised x.
bool SplitPath(const char* fullpath, char* alias, char* folder, char* name, char* ext);

// Rebuilds a name: alias and ':' when the alias is non-empty, folder (a '\\' is added when it
// does not end in one), name, and the extension (a '.' is added when it does not begin with one).
// Null parts count as empty; `alias` must not be null.
bool MakePath(char* out, const char* alias, const char* folder, const char* name, const char* ext);

// The one case-blind compare of path texts: ASCII letters without regard to case, '/' equal to
// '\\'. Returns <0, 0 or >0 as strcmp does.
int Compare(const char* a, const char* b);
bool Equal(const char* a, const char* b);
// True when `name` begins with `prefix`, compared as Compare does.
bool HasPrefix(const char* name, const char* prefix);
// The first place of `what` in `text`, compared as Compare does; null when absent.
const char* FindNoCase(const char* text, const char* what);

// In place, ASCII only.
void ToUpper(char* text);
void ToLower(char* text);

// Bounded copy into a path buffer; false (and `dst` untouched) when `src` does not fit.
bool Copy(char* dst, const char* src);

// Matches a file name against a wildcard pattern: '*' any run, '?' any one character, without regard
// to case. "*.*" matches every name, with or without a dot, as the find-first functions do.
bool MatchSpec(const char* pattern, const char* name);
} // namespace FilePathUtil
