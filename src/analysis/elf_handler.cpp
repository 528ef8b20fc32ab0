#include "analysis/elf_handler.h"

#include <fcntl.h>
#include <unistd.h>

#include <dwarf/dwarf++.hh>
#include <elf/elf++.hh>
#include <filesystem>
#include <iostream>
#include <stdexcept>

#include "analysis/coverage_files.h"
#include "analysis/dwarf_lines.h"
#include "runner/args_manager.h"

#ifdef __SANITIZE_ADDRESS__
#include <sanitizer/lsan_interface.h>
#endif

namespace orvo {
namespace {

// libelfin's files own sections that own their file, and are never freed: no leak of ours.
#ifdef __SANITIZE_ADDRESS__
using LibraryLeaks = __lsan::ScopedDisabler;
#else
struct LibraryLeaks {
  ~LibraryLeaks() {}
};
#endif

constexpr char kDebugInformation[] = ".debug_info";
constexpr unsigned kMachineArm = 40;  // ELF for the ARM Architecture, "ELF header", e_machine

int OpenElfFile(const std::string& path) {
  if (!std::filesystem::is_regular_file(path)) return -1;  // a pipe without a writer blocks
  return ::open(path.c_str(), O_RDONLY | O_CLOEXEC);
}

}  // namespace

bool ElfHandler::Parse(const std::string& path) {
  address_to_line_in_file_.clear();
  lines_status_.clear();
  const int file = OpenElfFile(path);
  if (file < 0) {
    std::cout << "File " << path << " is not found or it is not an ELF file." << std::endl;
    return false;
  }
  try {
    ReadWithLibelfin(file);
  } catch (const std::exception&) {
    // DWARF 5, or compressed sections; or the file is damaged, and this finds it so too.
    address_to_line_in_file_.clear();
    lines_status_.clear();
    try {
      ReadWithLibdw(path);
    } catch (const std::exception& error) {
      std::cout << "Failed to parse elf file. can't disassemble for architecture UNKNOWN."
                << std::endl;
      std::cerr << "Warning: no code coverage, " << path << ": " << error.what() << std::endl;
      return false;
    }
  }
  if (lines_status_.empty()) {
    std::cerr << "Warning: " << path << " has no lines for the code coverage, compile with -g"
              << std::endl;
  }
  return true;
}

// Takes the file.
void ElfHandler::ReadWithLibelfin(int file) {
  const LibraryLeaks leaks;
  const elf::elf elf_file(elf::create_mmap_loader(file));
  if (elf_file.get_hdr().machine != kMachineArm) throw std::runtime_error("not a program for ARM");
  if (!elf_file.get_section(kDebugInformation).valid()) return;
  const dwarf::dwarf debug_information(dwarf::elf::create_loader(elf_file));
  for (const dwarf::compilation_unit& unit : debug_information.compilation_units())
    DumpLines(unit.get_line_table());
}

void ElfHandler::DumpLines(const dwarf::line_table& table) {
  if (!table.valid()) return;
  bool begins = true;
  unsigned moved_by = 0;
  for (const dwarf::line_table::entry& row : table) {
    if (begins) moved_by = row.address == 0 ? kDroppedCode : 0;
    begins = row.end_sequence;
    // The address behind the code belongs to the next function, if to any.
    if (!row.end_sequence)
      AddRow(static_cast<unsigned>(row.address) + moved_by, row.file->path, row.line);
  }
}

void ElfHandler::ReadWithLibdw(const std::string& path) { ReadDwarfLines(path, AddRow); }

void ElfHandler::AddRow(unsigned address, const std::string& file, unsigned line) {
  if (line == 0) return;  // no line of the source (DWARF 5, 6.2.2)
  const auto status = lines_status_.try_emplace({file, line}, false).first;
  if (address >= kDroppedCode) return;
  const auto [begin, end] = address_to_line_in_file_.equal_range(address);
  for (auto known = begin; known != end; ++known) {
    if (known->second == status->first) return;
  }
  address_to_line_in_file_.emplace(address, status->first);
}

void ElfHandler::MarkAddressAsCovered(unsigned address) {
  const auto [begin, end] = address_to_line_in_file_.equal_range(address);
  for (auto found = begin; found != end; ++found) {
    const SourceLine& line = found->second;
    const auto status = lines_status_.find(line);
    if (status != lines_status_.end()) {
      status->second = true;
    } else {
      std::cout << "Address file name: " << line.first << " Line number: " << line.second
                << " doesn't exist" << std::endl;
    }
  }
}

void ElfHandler::CreateCoverageReport() {
  FileTable files;
  unsigned total = 0;
  unsigned covered = 0;
  for (const auto& [line, ran] : lines_status_) {
    auto& [covered_in_file, lines_in_file] = files[line.first];
    ++lines_in_file;
    ++total;
    if (ran) {
      ++covered_in_file;
      ++covered;
    }
  }
  if (!WriteHtmlReportFile(files, total, covered))
    std::cerr << "Warning: can't write " << kCoverageReportFileName << std::endl;
  const std::string& lcov = ArgsManager::Get().coverage_lcov;
  if (!lcov.empty() && !WriteLcovFile(lcov, lines_status_))
    std::cerr << "Warning: can't write " << lcov << std::endl;
}

}  // namespace orvo
