// Preparation of a run.
#include "runner/program.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <fstream>
#include <iostream>

#include "analysis/elf_handler.h"
#include "config/configuration_file_handler.h"
#include "control/gdb_server.h"
#include "core/decoder.h"
#include "core/globals.h"
#include "memory/memory_exclusiveness.h"
#include "runner/args_manager.h"
#include "runner/errors.h"
#include "runner/logger.h"
#include "runner/text.h"

namespace orvo {
namespace {

constexpr char kFlash[] = "Flash";
constexpr char kElfFile[] = "program.elf";
constexpr char kElfFileInProject[] = ".zandor/program.elf";

std::ostream* TraceStream() {
  std::ofstream& file = ArgsManager::Get().trace_stream;
  return file.is_open() && file.good() ? &file : &std::cout;
}

}  // namespace

Program::Program(Mcu& mcu, const std::string& argv0, const std::string& image_path)
    : pending_empty_(mcu.interrupts().pending_empty()),
      trace_stream_(TraceStream()),
      chip_(mcu),
      exclusive_monitor_(std::make_unique<MemoryExclusiveness>(&mcu)) {
  ParseElfFileIfNeeded(argv0);
  SetProcessWideVariables();
  image_file_ = image_path;
  mcu.interrupts().SetTraceOutputDest();
  LoadBinaryFile();
  stop_connection_ = {OrvoSignals::Get().terminate, [this](int) { Stop(); }};
  InitMnemonic2ArmFunciton();
  InitPcOffset2ArmFunction();
  registers_->TrackStackDepth(ArgsManager::Get().sp);
  mcu.Reset(kPowerOnReset);
  ConfigurationFileHandler::Get().ConnectPeripheralsForNrf52(&mcu);
  mcu.memory().loadBLEAppTemplate();
}

Program::~Program() = default;

Program::ProcessWideVariables::~ProcessWideVariables() {
  ReleaseDecodeTables();
  mcu_ = nullptr;
  memory_exclusiveness_ = nullptr;
  image_.reset();
}

void Program::ParseElfFileIfNeeded(const std::string& argv0) {
  code_cover_report_ = false;
  if (!ArgsManager::Get().code_coverage) return;
  const std::string path = GetFilePath(argv0, kElfFileInProject, kElfFile);
  if (path.empty()) {
    std::cerr << "In order to see code coverage report, load your elf file." << std::endl;
    return;
  }
  // Before a long run, not behind it; and no old file is taken for this run's.
  const std::string& lcov = ArgsManager::Get().coverage_lcov;
  if (!lcov.empty() && !std::ofstream(lcov, std::ios::trunc))
    throw UserError("--coverage-lcov: can't write " + lcov + ": " + std::strerror(errno));
  code_cover_report_ = ElfHandler::Parse(path);
}

void Program::SetProcessWideVariables() {
  mcu_ = &chip_;
  registers_ = &chip_.registers();
  interrupts_ = &chip_.interrupts();
  memory_ = &chip_.memory();
  current_instruction_ = &chip_.current_instruction;
  flash_address_ = chip_.GetFlashOffset();
  pc_offset_2_arm_function_ = &chip_.pc_offset_2_arm_function;
  pc_offset_2_my_insn_struct_ = &chip_.pc_offset_2_my_insn_struct;
  memory_exclusiveness_ = exclusive_monitor_.get();
}

void Program::LoadBinaryFile() {
  if (GetFilePath(image_file_).empty()) {
    const std::string reason = image_file_.empty() ? "none was given with -i/--image"
                                                   : image_file_ + ": " + std::strerror(errno);
    throw OrvoError(
        "Missing image file. Check your internet connection and use the newest version of sdk (" +
        reason + ")");
  }
  MemorySection& flash = *memory_->GetSectionByName(kFlash);
  program_len_ = 0;
  image_ = Image::CreateImage(image_file_, flash_address_);
  image_->Load();
  image_->StartRead();
  unsigned address = 0;
  unsigned value = 0;
  while (image_->GetNextData(&address, &value)) LoadWord(flash, address, value);
  if (image_->Size() == 0) throw UserError("Image file has no data: " + image_file_);
  image_->Close();
  image_.reset();
  flash_memory_ = flash.bytes();
}

void Program::LoadWord(MemorySection& flash, unsigned address, unsigned value) {
  // The last pair of a binary lies behind its data: behind flash too, if the data fill it.
  const bool behind_full_flash =
      address == flash.end() && value == 0 && image_->Size() == flash.size();
  if (!behind_full_flash) {
    const MemorySection* section = memory_->LookUpSection(address);
    if (section == nullptr || section->end() - address < sizeof(value))
      ImageDoesNotFit(flash, address);
    memory_->set<false>(address, value);
  }
  if (flash.start() <= address && address <= flash.end())
    program_len_ = std::max(program_len_, address - flash_address_);
}

void Program::ImageDoesNotFit(const MemorySection& flash, unsigned address) {
  image_->SkipToEnd();
  throw UserError("Image file doesn't fit into " + chip_.GetName() + ": " + image_file_ + " of " +
                  std::to_string(image_->Size()) + " bytes has data at 0x" + IntToHex(address) +
                  ", the flash has " + std::to_string(flash.size()) + " bytes from 0x" +
                  IntToHex(flash.start()) + " on");
}

}  // namespace orvo
