#include "admin/file_upload.h"

#include <QCursor>
#include <QFile>
#include <QGuiApplication>

#include "admin/file_job.h"
#include "admin/file_sender.h"
#include "admin/image_check.h"
#include "core/management_link.h"
#include "core/module_directory.h"
#include "platform/platform.h"

namespace torvek {

namespace {

// The wait cursor for as long as the job is being prepared.
struct WaitCursor {
  WaitCursor() { QGuiApplication::setOverrideCursor(Qt::WaitCursor); }
  ~WaitCursor() { QGuiApplication::restoreOverrideCursor(); }
};

}  // namespace

FileUpload::FileUpload(FileUploadLinks links, QObject* parent)
    : QObject(parent), links_(std::move(links)) {}

bool FileUpload::CheckImageFile(int model, int operation, QString path) {
  const std::vector<std::string> refusal =
      CheckImagePath(model, operation, QFile::encodeName(path).toStdString());
  for (const std::string& text : refusal)
    links_.platform.prompter.Message(QString::fromStdString(text));
  return refusal.empty();
}

void FileUpload::PingAllModules() {
  for (int row = 0; row < links_.modules.RowCount(); ++row)
    links_.platform.launcher.StartHidden("ping", {"-c", "2", links_.modules.AddressOfRow(row)});
  links_.platform.clock.WaitOnUiThread(2000);
}

bool FileUpload::StartFileJob(std::uint8_t command, const MacAddress& moduleMac, QString path,
                              int all, int model, int operation, int protocol) {
  if (!CheckImageFile(model, operation, path)) return false;
  JobFile file;
  {
    WaitCursor waiting;
    PingAllModules();
    // Read after the pings: what is sent is the file as it is now, and a file
    // that went away in the meantime ends here.
    file = ReadJobFile(QFile::encodeName(path).toStdString());
    if (file.size == 0) {
      links_.platform.prompter.Message("File size is zero");
      return false;
    }
  }
  FileJob job;
  job.frame = MakeJobFrame(command, static_cast<std::uint16_t>(model), links_.link.pcMac, moduleMac,
                           all != 0, static_cast<std::uint32_t>(file.size));
  // A file that cannot be opened for update gives no blocks: the job ends at
  // once, as one that could not open its file.
  job.content = std::move(file.content);
  job.gapMs = kBlockGapMs;
  job.broadcast = protocol;
  job.model = model;
  job.all = all;
  jobPath = path;
  if (!links_.sender.StartJob(std::move(job))) return false;
  emit StatusText("Sending....");
  return true;
}

int FileUpload::BlocksSent() const { return links_.sender.BlocksSent(); }
int FileUpload::BlockTotal() const { return links_.sender.BlockTotal(); }

bool FileUpload::KeepsJobAddress(const QString& chosenAddress) {
  if (!links_.link.fileJobRunning) return false;
  links_.platform.prompter.Message(QString::asprintf(" Upgrade process is running to %s",
                                                     chosenAddress.toLocal8Bit().constData()));
  return true;
}

}  // namespace torvek
