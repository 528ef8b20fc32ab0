#include "analysis/dwarf_lines.h"

#include <dwarf.h>
#include <elfutils/libdw.h>
#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <memory>
#include <stdexcept>
#include <string_view>

namespace orvo {
namespace {

struct File {
  explicit File(const std::string& path) : descriptor(::open(path.c_str(), O_RDONLY | O_CLOEXEC)) {
    if (descriptor < 0) throw std::runtime_error(std::strerror(errno));
  }
  ~File() { ::close(descriptor); }
  int descriptor;
};

using ElfPointer = std::unique_ptr<Elf, decltype(&elf_end)>;
using DwarfPointer = std::unique_ptr<Dwarf, decltype(&dwarf_end)>;

// The section's bytes, uncompressed; null if there is no such section. They stay the library's, and
// what is changed in them is what it reads.
Elf_Data* SectionData(Elf* elf, std::string_view name) {
  size_t names = 0;
  if (elf_getshdrstrndx(elf, &names) != 0) throw std::runtime_error(elf_errmsg(-1));
  for (Elf_Scn* section = nullptr; (section = elf_nextscn(elf, section)) != nullptr;) {
    GElf_Shdr header;
    if (gelf_getshdr(section, &header) == nullptr) throw std::runtime_error(elf_errmsg(-1));
    const char* text = elf_strptr(elf, names, header.sh_name);
    if (text == nullptr || text != name) continue;
    if ((header.sh_flags & SHF_COMPRESSED) != 0 && elf_compress(section, 0, 0) < 0)
      throw std::runtime_error(elf_errmsg(-1));
    return elf_getdata(section, nullptr);
  }
  return nullptr;
}

// The library sorts the rows of all functions by address, and those of dropped functions could not
// be told from others any more. DW_LNE_set_address to 0 (DWARF 5, 6.2.5.3) becomes another address;
// no other instructions of a line program have these bytes, since an extended one has a length.
void MoveDroppedCode(Elf_Data& lines) {
  static constexpr unsigned char kSetAddress0[] = {0, 5, DW_LNE_set_address, 0, 0, 0, 0};
  static_assert(kDroppedCode << 8 == 0);
  auto* begin = static_cast<unsigned char*>(lines.d_buf);
  auto* const end = begin + lines.d_size;
  while ((begin = std::search(begin, end, std::begin(kSetAddress0), std::end(kSetAddress0))) != end)
    begin[6] = kDroppedCode >> 24;
}

// The library reads a last string without an end beyond its section.
void EndStrings(Elf* elf) {
  for (const char* name : {".debug_str", ".debug_line_str"}) {
    const Elf_Data* const strings = SectionData(elf, name);
    if (strings != nullptr && strings->d_buf != nullptr && strings->d_size != 0)
      static_cast<char*>(strings->d_buf)[strings->d_size - 1] = '\0';
  }
}

}  // namespace

void ReadDwarfLines(
    const std::string& path,
    const std::function<void(unsigned address, const std::string& file, unsigned line)>& add) {
  elf_version(EV_CURRENT);
  const File file(path);
  const ElfPointer elf(elf_begin(file.descriptor, ELF_C_READ, nullptr), &elf_end);
  GElf_Ehdr header;
  if (elf == nullptr || gelf_getehdr(elf.get(), &header) == nullptr)
    throw std::runtime_error(elf_errmsg(-1));
  if (header.e_machine != EM_ARM) throw std::runtime_error("not a program for ARM");
  if (SectionData(elf.get(), ".debug_info") == nullptr)
    throw std::runtime_error("its sections are missing");
  Elf_Data* const lines = SectionData(elf.get(), ".debug_line");
  if (lines != nullptr && lines->d_buf != nullptr) MoveDroppedCode(*lines);
  EndStrings(elf.get());

  const DwarfPointer dwarf(dwarf_begin_elf(elf.get(), DWARF_C_READ, nullptr), &dwarf_end);
  if (dwarf == nullptr) throw std::runtime_error(dwarf_errmsg(-1));
  Dwarf_CU* unit = nullptr;
  Dwarf_Die die;
  int found = 0;
  while ((found = dwarf_get_units(dwarf.get(), unit, &unit, nullptr, nullptr, &die, nullptr)) ==
         0) {
    if (dwarf_hasattr(&die, DW_AT_stmt_list) == 0) continue;
    Dwarf_Lines* rows = nullptr;
    size_t count = 0;
    if (dwarf_getsrclines(&die, &rows, &count) != 0) throw std::runtime_error(dwarf_errmsg(-1));
    for (size_t i = 0; i < count; ++i) {
      Dwarf_Line* row = dwarf_onesrcline(rows, i);
      Dwarf_Addr address = 0;
      int line = 0;
      bool behind_end = false;
      const char* const name = dwarf_linesrc(row, nullptr, nullptr);
      if (name == nullptr || dwarf_lineaddr(row, &address) != 0 || dwarf_lineno(row, &line) != 0 ||
          dwarf_lineendsequence(row, &behind_end) != 0)
        throw std::runtime_error(dwarf_errmsg(-1));
      if (!behind_end) add(static_cast<unsigned>(address), name, static_cast<unsigned>(line));
    }
  }
  if (found < 0) throw std::runtime_error(dwarf_errmsg(-1));
}

}  // namespace orvo
