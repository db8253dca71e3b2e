#include "admin/file_download.h"

#include <QFile>
#include <cstdio>
#include <filesystem>

#include "controls/cell_color_list.h"
#include "core/notify_socket.h"
#include "core/process_values.h"
#include "platform/platform.h"

namespace torvek {

FileDownload::FileDownload(Platform& platform, FileJobFlags& fileJob, CCellColorList& modules,
                           const CNotifySocket& socket, QObject* parent)
    : QObject(parent), platform_(platform), fileJob_(fileJob), modules_(modules), socket_(socket) {}

void FileDownload::PutHandlers(std::function<void()>& config, std::function<void()>& logo,
                               std::function<void()>& log) {
  config = [this] { OnConfigAnswer(); };
  logo = [this] { OnLogoAnswer(); };
  log = [this] { OnLogAnswer(); };
}

void FileDownload::Begin(const QString& path) {
  fileJob_.downloadPath = path;
  // Everything is appended: a second Get into the same file starts afresh.
  QFile::remove(path);
  state_.Begin();
}

int FileDownload::StoreDownloadFrame(const QString& path, const char* mode) {
  const StoreStep step =
      TakeDataAnswer(state_, socket_.receiveBuffer.data(), socket_.receivedLength);
  if (!step.active) return 0;
  const DataAnswer& answer = step.answer;
  if (!step.write) return answer.result;
  // A file that does not open loses this answer's data, nothing more.
  if (std::FILE* file = std::fopen(QFile::encodeName(path).constData(), mode)) {
    if (answer.dataLength > 0) std::fwrite(answer.data, 1, answer.dataLength, file);
    std::fclose(file);
  }
  const int row = modules_.table().FindRow(MacText(answer.sourceMac.data()));
  if (row >= 0)
    modules_.SetCellBackground(row, 0,
                               NextCellColor(modules_.GetCellBackground(row, 0), answer.result),
                               true);
  emit ModuleStatus(answer.result, answer.statusWord, answer.seq);
  return answer.result;
}

void FileDownload::Finish() {
  state_.End();
  platform_.beeper.Beep();
}

void FileDownload::OnConfigAnswer() {
  if (!state_.Active()) return;
  if (StoreDownloadFrame(fileJob_.downloadPath, "a+b") != kResultDone) return;
  Finish();
  std::error_code error;
  const std::uintmax_t size =
      std::filesystem::file_size(QFile::encodeName(fileJob_.downloadPath).toStdString(), error);
  if (const auto refusal = ConfigSizeRefusal(error ? std::nullopt : std::optional(size))) {
    const QString text = QString::fromStdString(*refusal);
    emit StatusText(text);
    platform_.prompter.Message(text);
    return;
  }
  platform_.prompter.Message("Getting config file is well done...");
}

void FileDownload::OnLogoAnswer() {
  if (!state_.Active()) return;
  if (ReadDataAnswer(socket_.receiveBuffer.data(), socket_.receivedLength).fileSize == 0) {
    // Nothing more will come: the download stays open all the same, as the
    // next Get replaces it.
    platform_.prompter.Message(" Logo file no exist at the module");
    return;
  }
  if (StoreDownloadFrame(fileJob_.downloadPath, "a+b") != kResultDone) return;
  Finish();
  platform_.prompter.Message("Getting  company logo file is well done");
}

void FileDownload::OnLogAnswer() {
  if (!state_.Active()) return;
  if (StoreDownloadFrame(fileJob_.downloadPath, "a+t") != kResultDone) return;
  Finish();
  platform_.prompter.Message("Getting system log file is well done");
}

}  // namespace torvek
