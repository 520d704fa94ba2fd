// Names as the user reads them. Inside, the system holds a path in its own form: "TOOL:" before a
// full path of the plain disk, '\\' between names ("TOOL:\\home\\artist\\walk.sgm"). Whatever a
// user reads (the console, a tool's messages, the log) shows it as typed on this system:
// "/home/artist/walk.sgm". The internal form stays inside.
#pragma once

#include <string>

namespace UserPath
{
// One name in the user's form: the raw disk alias "TOOL:" dropped (with the leading separator
// that the alias split removes put back), every '\\' written '/', and each part that exists on
// disk in its case there. Other aliases stay as they are, with '/' ("DATA:art/ebps/x.sgm"): the
// user never typed a disk path for them.
std::string FromName(const char* name);

// Every name inside a line of the system's text in the user's form, by the same rules: each
// "TOOL:" that starts a word goes, and each '\\' becomes '/' (on this system a '\\' in the
// system's own lines is always a separator of its path form).
std::string InText(const char* text);
} // namespace UserPath
