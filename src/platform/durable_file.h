// Files that must survive a crash or a power loss whole: the new content is
// written beside the old, flushed to the disk, and renamed over it, so that
// the name always holds the old content or the new, never a part.
#pragma once

#include <QByteArray>
#include <QString>

namespace torvek {

// False when the content could not be put in place; the old file then stays.
bool WriteFileDurably(const QString& path, const QByteArray& content);
// Removes the file and makes the removal durable; true when it is gone.
bool RemoveFileDurably(const QString& path);

}  // namespace torvek
