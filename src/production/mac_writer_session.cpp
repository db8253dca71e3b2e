#include "production/mac_writer_session.h"

#include <QFile>

#include "admin/model_code.h"
#include "core/daily_log.h"
#include "core/latin1_text.h"
#include "core/module_directory.h"
#include "platform/durable_file.h"
#include "platform/platform.h"

namespace torvek {

namespace {

// The counter and the record in flight are a few dozen bytes; anything past
// this is not read.
constexpr qint64 kSmallFileLimit = 4096;

std::optional<QByteArray> ReadSmallFile(const QString& path) {
  QFile file(path);
  if (!file.open(QIODevice::ReadOnly)) return std::nullopt;
  return file.read(kSmallFileLimit);
}

}  // namespace

MacWriterSession::MacWriterSession(const MacWriterLinks& links, QObject* parent)
    : QObject(parent), links_(links) {
  rebootTimer_.setObjectName(QString::number(kRebootTimer));
  rebootTimer_.setSingleShot(true);
  rebootTimer_.setInterval(kRebootSearchMs);
  connect(&rebootTimer_, &QTimer::timeout, this, &MacWriterSession::OnRebootTimer);
}

void MacWriterSession::LoadMacData() {
  const QString& dir = links_.programDir;
  macFilePath = dir + "mac_data_file.txt";
  inFlightPath = dir + "mac_in_flight.txt";
  labelPath_ = links_.platform.paths.FixedFile("mac_label.txt");

  MacData saved = kFreshCounter;
  if (const std::optional<QByteArray> text = ReadSmallFile(macFilePath))
    saved = ParseMacData(ByteView(*text));
  counter.macId = saved.macId;
  counter.macCompanyId = saved.macCompanyId;

  // A write of an earlier run went out and its counter was never saved: the
  // module may hold that address, so it is not handed out again.
  const std::optional<QByteArray> inFlight = ReadSmallFile(inFlightPath);
  if (!inFlight) return;
  if (const std::optional<MacInFlight> record = ParseInFlight(ByteView(*inFlight))) {
    const std::uint32_t next = StepPastInFlight(saved, *record);
    if (next != saved.macId) {
      counter.macId = next;
      // Until the counter is on disk past it, the record stays for the next start.
      if (!WriteFileDurably(macFilePath, QByteArray::fromStdString(
                                             FormatMacData(counter.macId, counter.macCompanyId))))
        return;
    }
  }
  RemoveFileDurably(inFlightPath);
}

bool MacWriterSession::SaveMacData(bool advance) {
  std::uint32_t step = 0;
  if (advance) {
    step = static_cast<std::uint32_t>(
        MacStepOf(ModelCodeOrTell(links_.modules.selectedModuleType, links_.platform.prompter)));
    if (step == 0) {
      links_.platform.prompter.Message(" Invalid Device Type");
      return true;
    }
  }
  const std::uint32_t next = counter.macId + step;
  if (!WriteFileDurably(macFilePath,
                        QByteArray::fromStdString(FormatMacData(next, counter.macCompanyId)))) {
    emit ReportStatus(kStatusCounterFailed);
    return false;
  }
  counter.macId = next;
  // The counter on disk is past anything in flight, or the operator set it.
  RemoveFileDurably(inFlightPath);
  return true;
}

bool MacWriterSession::SendMacWrite(const MacBytes& newMac, int writeMode) {
  if (writeMode != kBarcodeMode) {
    const MacInFlight record{counter.macCompanyId, counter.macId,
                             counter.macId +
                                 static_cast<std::uint32_t>(MacStepOf(ModelCodeOf(
                                     links_.modules.selectedModuleType.toStdString())))};
    if (!WriteFileDurably(inFlightPath, QByteArray::fromStdString(FormatInFlight(record)))) {
      emit ReportStatus(kStatusCounterFailed);
      return false;
    }
  }
  FillMacWriteFrame(frame_.data(), frame_.size(), links_.pcMac, links_.modules.selectedModuleMac,
                    newMac);
  links_.sender.SendFrameAndSearch(frame_.data());
  macWritePending = true;
  return true;
}

MacAnswer MacWriterSession::TakeAnswer(const std::uint8_t* frame, std::size_t length) {
  const auto at = [&](std::size_t offset) -> std::uint8_t {
    return offset < length ? frame[offset] : 0;
  };
  MacBytes target{};
  for (std::size_t i = 0; i < target.size(); ++i) target[i] = at(frame::kTargetMac + i);
  const MacAnswer answer =
      DecideMacWriteAnswer(macWritePending, at(frame::kResult), target, links_.pcMac);
  if (answer != MacAnswer::NotPending) macWritePending = false;
  return answer;
}

QString MacWriterSession::LogPath(int writeMode) const {
  const std::tm now = LocalTm(links_.platform.clock.LocalNow());
  return links_.programDir + QString::fromStdString(WriteLogName(writeMode, now));
}

bool MacWriterSession::AppendLogLine(int writeMode, const QString& macText,
                                     const QString& serialText) {
  // One reading of the clock names the file and stamps the line.
  const std::tm now = LocalTm(links_.platform.clock.LocalNow());
  QFile log(links_.programDir + QString::fromStdString(WriteLogName(writeMode, now)));
  if (!log.open(QIODevice::Append | QIODevice::Text)) return false;
  log.write(QByteArray::fromStdString(
      WriteLogLine(now, macText.toStdString(), serialText.toStdString())));
  return true;
}

bool MacWriterSession::MakeLabel(int step) {
  QFile file(labelPath_);
  if (!file.open(QIODevice::WriteOnly | QIODevice::Truncate | QIODevice::Text)) return false;
  const std::string text =
      LabelList(counter.macCompanyId, counter.macId, static_cast<std::uint32_t>(step));
  const bool written =
      file.write(text.data(), static_cast<qint64>(text.size())) == static_cast<qint64>(text.size());
  file.close();
  links_.platform.launcher.OpenFile(labelPath_);
  return written;
}

void MacWriterSession::StartRebootTimer() { rebootTimer_.start(); }

void MacWriterSession::OnRebootTimer() {
  links_.sender.StartSearch();
  rebootTimer_.stop();
  links_.platform.beeper.Beep();
}

}  // namespace torvek
