// The two tables behind the run loop, indexed by program offset in bytes: a function and a decoded
// instruction per address. They take address space in proportion to the program, and memory only
// for the pages that are touched.
#pragma once

#include <cstddef>
#include <memory>
#include <vector>

#include "core/my_insn.h"

namespace orvo {

// Zero pages from the kernel, given back on destruction. Throws OrvoError when there are none.
class ZeroedPages {
 public:
  explicit ZeroedPages(size_t size_bytes);
  ~ZeroedPages();
  ZeroedPages(const ZeroedPages&) = delete;
  ZeroedPages& operator=(const ZeroedPages&) = delete;
  void* data() const { return data_; }

 private:
  size_t size_bytes_;
  void* data_;
};

class DecodeTables {
 public:
  // Every even offset up to the length, inclusive, starts with the decoder.
  DecodeTables(unsigned program_len_bytes, Function decoder);
  ~DecodeTables();

  Function* functions() const { return functions_; }
  my_insn_t* instructions() const { return instructions_; }
  // Makes the record of an offset; at most once per offset.
  my_insn_t& Construct(unsigned offset);

 private:
  ZeroedPages function_pages_;
  ZeroedPages instruction_pages_;
  Function* functions_;
  my_insn_t* instructions_;
  std::vector<unsigned> constructed_;
};

}  // namespace orvo
