// A download's answers on the UI thread: each data answer of the module is
// appended to the file, repeats dropped, the sender's row blinking, until an
// answer says that the job is done.
#pragma once

#include <QObject>
#include <QString>
#include <cstdint>
#include <functional>

#include "admin/download_store.h"

namespace torvek {

class CCellColorList;
class CNotifySocket;
struct FileJobFlags;
struct Platform;

class FileDownload : public QObject {
  Q_OBJECT
 public:
  // The answer at hand is the socket's last received datagram.
  FileDownload(Platform& platform, FileJobFlags& fileJob, CCellColorList& modules,
               const CNotifySocket& socket, QObject* parent = nullptr);

  // Puts the handlers of the three answers where the dispatch finds them.
  void PutHandlers(std::function<void()>& config, std::function<void()>& logo,
                   std::function<void()>& log);

  // Empties the file at path and takes the answers from now on.
  void Begin(const QString& path);
  bool Active() const { return state_.Active(); }

  // Appends the answer at hand to path, opened in mode; gives its result, or
  // 0 when no download runs.
  int StoreDownloadFrame(const QString& path, const char* mode);
  void OnConfigAnswer();
  void OnLogoAnswer();
  void OnLogAnswer();

 signals:
  // The result, statusWord and seq of a stored answer.
  void ModuleStatus(std::uint8_t result, std::uint32_t status, std::uint16_t seq);
  void StatusText(const QString& text);

 private:
  // The end of a download: stops taking answers and beeps.
  void Finish();

  Platform& platform_;
  FileJobFlags& fileJob_;
  CCellColorList& modules_;
  const CNotifySocket& socket_;
  DownloadState state_;
};

}  // namespace torvek
