#include "admin/file_download.h"

#include <QFile>
#include <cstdio>
#include <filesystem>

#include "core/management_link.h"
#include "core/module_directory.h"
#include "platform/platform.h"

namespace torvek {

namespace {
const std::uint8_t* Bytes(const QByteArray& answer) {
  return reinterpret_cast<const std::uint8_t*>(answer.constData());
}
}  // namespace

FileDownload::FileDownload(Platform& platform, ModuleDirectory& modules, ManagementLink& link,
                           QObject* parent)
    : QObject(parent), platform_(platform), modules_(modules) {
  connect(&link, &ManagementLink::configBlock, this, &FileDownload::OnConfigAnswer);
  connect(&link, &ManagementLink::logoBlock, this, &FileDownload::OnLogoAnswer);
  connect(&link, &ManagementLink::logBlock, this, &FileDownload::OnLogAnswer);
}

void FileDownload::Begin(const QString& path, std::uint64_t limit) {
  downloadPath = path;
  // Everything is appended: a second Get into the same file starts afresh.
  QFile::remove(path);
  state_.Begin(limit);
}

int FileDownload::StoreDownloadFrame(const QByteArray& answerBytes, const QString& path,
                                     const char* mode) {
  const StoreStep step =
      TakeDataAnswer(state_, Bytes(answerBytes), static_cast<std::size_t>(answerBytes.size()));
  if (!step.active) return 0;
  const DataAnswer& answer = step.answer;
  if (!step.write) return answer.result;
  // A file that does not open loses this answer's data, nothing more.
  if (std::FILE* file = std::fopen(QFile::encodeName(path).constData(), mode)) {
    if (answer.dataLength > 0) std::fwrite(answer.data, 1, answer.dataLength, file);
    std::fclose(file);
  }
  CellTable& rows = modules_.table();
  const int row = rows.FindRow(MacText(answer.sourceMac.data()));
  if (row >= 0)
    rows.SetCellBackground(row, 0, NextCellColor(rows.GetCellBackground(row, 0), answer.result));
  emit ModuleStatus(answer.result, answer.statusWord, answer.seq);
  return answer.result;
}

void FileDownload::Finish() {
  state_.End();
  platform_.beeper.Beep();
}

void FileDownload::OnConfigAnswer(const QByteArray& answer) {
  if (!state_.Active()) return;
  if (StoreDownloadFrame(answer, downloadPath, "a+b") != kResultDone) return;
  Finish();
  std::error_code error;
  const std::uintmax_t size =
      std::filesystem::file_size(QFile::encodeName(downloadPath).toStdString(), error);
  if (const auto refusal = ConfigSizeRefusal(error ? std::nullopt : std::optional(size))) {
    const QString text = QString::fromStdString(*refusal);
    emit StatusText(text);
    platform_.prompter.Message(text);
    return;
  }
  platform_.prompter.Message("Getting config file is well done...");
}

void FileDownload::OnLogoAnswer(const QByteArray& answer) {
  if (!state_.Active()) return;
  if (ReadDataAnswer(Bytes(answer), static_cast<std::size_t>(answer.size())).fileSize == 0) {
    // Nothing more will come: the download stays open all the same, as the
    // next Get replaces it.
    platform_.prompter.Message(" Logo file no exist at the module");
    return;
  }
  if (StoreDownloadFrame(answer, downloadPath, "a+b") != kResultDone) return;
  Finish();
  platform_.prompter.Message("Getting  company logo file is well done");
}

void FileDownload::OnLogAnswer(const QByteArray& answer) {
  if (!state_.Active()) return;
  if (StoreDownloadFrame(answer, downloadPath, "a+t") != kResultDone) return;
  Finish();
  platform_.prompter.Message("Getting system log file is well done");
}

}  // namespace torvek
