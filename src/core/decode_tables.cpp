#include "core/decode_tables.h"

#include <sys/mman.h>

#include <cerrno>
#include <cstring>
#include <new>

#include "runner/errors.h"

namespace orvo {

ZeroedPages::ZeroedPages(size_t size_bytes)
    : size_bytes_(size_bytes),
      data_(mmap(nullptr, size_bytes, PROT_READ | PROT_WRITE,
                 MAP_PRIVATE | MAP_ANONYMOUS | MAP_NORESERVE, -1, 0)) {
  if (data_ == MAP_FAILED) {
    throw OrvoError("No address space for the decode tables (" + std::to_string(size_bytes) +
                    " bytes): " + std::strerror(errno));
  }
}

ZeroedPages::~ZeroedPages() { munmap(data_, size_bytes_); }

// One entry beyond the length: pc may stand exactly at the end of the program.
DecodeTables::DecodeTables(unsigned program_len_bytes, Function decoder)
    : function_pages_((size_t{program_len_bytes} + 1) * sizeof(Function)),
      instruction_pages_((size_t{program_len_bytes} + 1) * sizeof(my_insn_t)),
      functions_(static_cast<Function*>(function_pages_.data())),
      instructions_(static_cast<my_insn_t*>(instruction_pages_.data())) {
  for (size_t offset = 0; offset <= program_len_bytes; offset += 2) functions_[offset] = decoder;
}

DecodeTables::~DecodeTables() {
  for (const unsigned offset : constructed_) instructions_[offset].~my_insn_t();
}

my_insn_t& DecodeTables::Construct(unsigned offset) {
  my_insn_t* record = new (&instructions_[offset]) my_insn_t;
  record->entry = &functions_[offset];
  constructed_.push_back(offset);
  return *record;
}

}  // namespace orvo
