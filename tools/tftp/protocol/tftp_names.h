// Which names a request may use: a file inside the served folder, or
// nothing. The name is checked as text here; the server then opens it
// beneath the folder so that a link cannot lead out of it either.
#pragma once

#include <string>
#include <string_view>

namespace torvek::tftp {

// An upload is written aside and put in place when it is whole. Where it
// needs a name in the folder meanwhile, the name starts with this, and no
// request may name such a file.
constexpr std::string_view kUploadPrefix = ".tftp-upload-";

// Turns a requested name into a path relative to the served folder, with
// "/" between its parts (a "\" of a Windows client counts as one), or says
// why it is refused: empty, NUL inside, absolute, a ".." part, a drive
// letter, control characters, too long, a folder (a trailing "/"), or an
// upload in progress.
bool CheckRequestName(const std::string& name, std::string& relative, std::string& why);

// Whether `path`, with every link followed, lies strictly inside `folder`,
// itself with every link followed. A path that does not exist is not inside.
bool IsInsideFolder(const std::string& folder, const std::string& path);

}  // namespace torvek::tftp
