# Language level, warnings, sanitisers, compiler cache.
set(CMAKE_CXX_STANDARD 20)
set(CMAKE_CXX_STANDARD_REQUIRED ON)
set(CMAKE_CXX_EXTENSIONS OFF)
set(CMAKE_EXPORT_COMPILE_COMMANDS ON)
set(CMAKE_RUNTIME_OUTPUT_DIRECTORY ${CMAKE_BINARY_DIR}/bin)

# -ffp-contract=off: a multiply and an add of the simulated FPU must stay two roundings.
add_compile_options(-Wall -Wextra -Werror -Wshadow -ffp-contract=off
                    $<$<NOT:$<CONFIG:Release>>:-fno-omit-frame-pointer>
                    "$<$<COMPILE_LANGUAGE:CXX>:-Wnon-virtual-dtor;-Woverloaded-virtual>")
if(ORVO_ASSERTIONS)
  string(REPLACE "-DNDEBUG" "" CMAKE_CXX_FLAGS_RELWITHDEBINFO "${CMAKE_CXX_FLAGS_RELWITHDEBINFO}")
endif()
string(REPLACE "-g" "-g1" CMAKE_CXX_FLAGS_RELWITHDEBINFO "${CMAKE_CXX_FLAGS_RELWITHDEBINFO}")
if(ORVO_SANITIZE)
  add_compile_options(-fsanitize=${ORVO_SANITIZE} -fno-sanitize-recover=undefined)
  add_link_options(-fsanitize=${ORVO_SANITIZE})
endif()
if(ORVO_LTO)
  set(CMAKE_INTERPROCEDURAL_OPTIMIZATION ON)
endif()

find_program(CCACHE ccache)
if(CCACHE)
  # The sloppiness lets ccache serve translation units that use the precompiled headers.
  set(CMAKE_CXX_COMPILER_LAUNCHER
      ${CMAKE_COMMAND} -E env CCACHE_SLOPPINESS=pch_defines,time_macros,include_file_mtime,include_file_ctime ${CCACHE})
  add_compile_options($<$<COMPILE_LANGUAGE:CXX>:-fpch-preprocess>)
endif()
