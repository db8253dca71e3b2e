// The start of a file upload on the UI thread: the image checks, the pings,
// the file read whole, and the job handed to the file sender.
#pragma once

#include <QObject>
#include <QString>
#include <cstdint>

#include "core/management_frame.h"

namespace torvek {

class FileSender;
class ManagementLink;
class ModuleDirectory;
struct Platform;

struct FileUploadLinks {
  Platform& platform;
  // pcMac and fileJobRunning are read.
  const ManagementLink& link;
  // The rows and useLanIp are read.
  const ModuleDirectory& modules;
  FileSender& sender;
};

class FileUpload : public QObject {
  Q_OBJECT
 public:
  explicit FileUpload(FileUploadLinks links, QObject* parent = nullptr);

  // True when the file may be sent as this kind of image for this model; on
  // false the operator has been told.
  bool CheckImageFile(int model, int operation, QString path);
  // Pings every row (hidden, not waited for), then holds the UI thread 2 s so
  // that the modules' ARP entries are fresh before the first block.
  void PingAllModules();
  // True when a job was queued. all, model, operation and protocol are the
  // choices of the Change system data dialog.
  bool StartFileJob(std::uint8_t command, const MacAddress& moduleMac, QString path, int all,
                    int model, int operation, int protocol);
  // A row chosen while a job runs does not move the job: its blocks keep
  // their address, and the operator is told where they still go.
  bool KeepsJobAddress(const QString& chosenAddress);
  // Blocks sent and all blocks of the job of now or the last one.
  int BlocksSent() const;
  int BlockTotal() const;

  // The file of the job of now or the last one.
  QString jobPath;

 signals:
  void StatusText(const QString& text);

 private:
  FileUploadLinks links_;
};

}  // namespace torvek
