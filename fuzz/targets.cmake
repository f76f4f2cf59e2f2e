# The fuzz targets, shared by the libFuzzer build (fuzz/CMakeLists.txt) and the
# kept-inputs test (tests/CMakeLists.txt), which calls the same entry points without
# libFuzzer. Each target is fuzz/<name>.cpp with LLVMFuzzerInitialize and
# LLVMFuzzerTestOneInput.
set(QUILLMARK_FUZZ_DIR "${CMAKE_CURRENT_LIST_DIR}")
set(QUILLMARK_FUZZ_TARGETS compatible_expression standard_expression rule_set invoice xsd_schema)

# Adds the entry points of fuzz target `name` to the executable `executable`.
function(quillmark_add_fuzz_entry executable name)
  target_sources(${executable} PRIVATE ${QUILLMARK_FUZZ_DIR}/${name}.cpp ${QUILLMARK_FUZZ_DIR}/fuzz_support.cpp)
  target_include_directories(${executable} PRIVATE ${QUILLMARK_FUZZ_DIR} ${CMAKE_SOURCE_DIR}/src)
  target_compile_definitions(${executable} PRIVATE QUILLMARK_FUZZ_DIR="${QUILLMARK_FUZZ_DIR}")
  target_link_libraries(${executable} PRIVATE quillmark)
endfunction()
