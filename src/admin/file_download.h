// A download's answers on the UI thread: each data answer of the module is
// appended to the file, repeats dropped, the sender's row blinking, until an
// answer says that the job is done.
#pragma once

#include <QObject>
#include <QString>
#include <cstdint>

#include "admin/download_store.h"

namespace torvek {

class ManagementLink;
class ModuleDirectory;
struct Platform;

class FileDownload : public QObject {
  Q_OBJECT
 public:
  // Takes the link's configuration, logo and log blocks; blinks the rows of
  // the directory.
  FileDownload(Platform& platform, ModuleDirectory& modules, ManagementLink& link,
               QObject* parent = nullptr);

  // Empties the file at path and takes the answers from now on, up to
  // `limit` bytes of data.
  void Begin(const QString& path, std::uint64_t limit = UINT64_MAX);
  bool Active() const { return state_.Active(); }

  // Appends an answer to path, opened in mode; gives its result, or 0 when no
  // download runs.
  int StoreDownloadFrame(const QByteArray& answer, const QString& path, const char* mode);
  void OnConfigAnswer(const QByteArray& answer);
  void OnLogoAnswer(const QByteArray& answer);
  void OnLogAnswer(const QByteArray& answer);

  // The file the answers go to.
  QString downloadPath;

 signals:
  // The result, statusWord and seq of a stored answer.
  void ModuleStatus(std::uint8_t result, std::uint32_t status, std::uint16_t seq);
  void StatusText(const QString& text);

 private:
  // The end of a download: stops taking answers and beeps.
  void Finish();

  Platform& platform_;
  ModuleDirectory& modules_;
  DownloadState state_;
};

}  // namespace torvek
