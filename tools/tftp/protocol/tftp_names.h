// Which names a request may use: a file inside the served folder, or
// nothing. The name is checked as text here; the server then opens it
// beneath the folder so that a link cannot lead out of it either.
#pragma once

#include <string>

namespace torvek::tftp {

// Turns a requested name into a path relative to the served folder, with
// "/" between its parts (a "\" of a Windows client counts as one), or says
// why it is refused: empty, NUL inside, absolute, a ".." part, a drive
// letter, control characters, too long.
bool CheckRequestName(const std::string& name, std::string& relative, std::string& why);

// Whether `path`, with every link followed, lies strictly inside `folder`,
// itself with every link followed. A path that does not exist is not inside.
bool IsInsideFolder(const std::string& folder, const std::string& path);

}  // namespace torvek::tftp
