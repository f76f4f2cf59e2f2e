# Installs the build into a fresh prefix, then checks what an embedding program and a
# user of the installed tool rely on: the package (find_package(Quillmark) with
# Quillmark::quillmark), pkg-config's quillmark.pc, the version header, and the
# library and the tool finding the bundled rules relative to themselves.
#
# cmake -DBUILD_DIR= -DSOURCE_DIR= -DWORK_DIR= -DLIBDIR= -DVERSION= -DGENERATOR=
#       -DCXX_COMPILER= [-DCXX_FLAGS=] -P install_and_embed.cmake

set(prefix "${WORK_DIR}/prefix")
file(REMOVE_RECURSE "${WORK_DIR}")

# Runs a command; stops the test with its output when it fails. Its stdout is left in
# `output`.
function(run)
  execute_process(COMMAND ${CMAKE_COMMAND} -E env --unset=QUILLMARK_RULES_DIR --unset=QUILLMARK_RESOURCE_DIR ${ARGN}
                  RESULT_VARIABLE status OUTPUT_VARIABLE out ERROR_VARIABLE err)
  if(NOT status EQUAL 0)
    string(REPLACE ";" " " command "${ARGN}")
    message(FATAL_ERROR "${command}: exit status ${status}\n${out}\n${err}")
  endif()
  set(output "${out}" PARENT_SCOPE)
endfunction()

function(expect_in text expected what)
  string(FIND "${text}" "${expected}" at)
  if(at EQUAL -1)
    message(FATAL_ERROR "${what}: expected to see '${expected}' in:\n${text}")
  endif()
endfunction()

run(${CMAKE_COMMAND} --install "${BUILD_DIR}" --prefix "${prefix}")

foreach(installed
    "${LIBDIR}/libquillmark.so.${VERSION}"
    "${LIBDIR}/cmake/Quillmark/QuillmarkConfig.cmake"
    "${LIBDIR}/cmake/Quillmark/QuillmarkConfigVersion.cmake"
    "${LIBDIR}/pkgconfig/quillmark.pc"
    "include/quillmark/schematron_validator.h"
    "include/quillmark/version.h"
    "share/quillmark/rules/scenarios.json"
    "share/quillmark/strings"
    "bin/quillmark")
  if(NOT EXISTS "${prefix}/${installed}")
    message(FATAL_ERROR "not installed: ${installed}")
  endif()
endforeach()
# The library is linked under its SONAME, major version only.
if(NOT EXISTS "${prefix}/${LIBDIR}/libquillmark.so.1")
  message(FATAL_ERROR "libquillmark.so.1 missing")
endif()

# An embedding program built against the installed package only.
set(consumer_build "${WORK_DIR}/consumer-build")
run(${CMAKE_COMMAND} -S "${CMAKE_CURRENT_LIST_DIR}/consumer" -B "${consumer_build}" -G "${GENERATOR}"
    "-DCMAKE_PREFIX_PATH=${prefix}" "-DCMAKE_CXX_COMPILER=${CXX_COMPILER}" "-DCMAKE_CXX_FLAGS=${CXX_FLAGS}")
run(${CMAKE_COMMAND} --build "${consumer_build}")
run("${consumer_build}/consumer" "${SOURCE_DIR}/examples/rules/invoice-basics.sch"
    "${SOURCE_DIR}/examples/invoice-bad-arithmetic.xml")
expect_in("${output}" "version ${VERSION}\n" "consumer")
expect_in("${output}" "rules ${prefix}/share/quillmark/rules\n" "consumer")
expect_in("${output}" "QM-11 /Invoice[1]/cac:LegalMonetaryTotal[1]\n" "consumer")
expect_in("${output}" "QM-10 /Invoice[1]/cac:InvoiceLine[1]\n" "consumer")
expect_in("${output}" "invalid\n" "consumer")

# pkg-config finds the same installation.
find_program(PKG_CONFIG pkg-config REQUIRED)
set(ENV{PKG_CONFIG_PATH} "${prefix}/${LIBDIR}/pkgconfig")
run("${PKG_CONFIG}" --modversion quillmark)
expect_in("${output}" "${VERSION}" "pkg-config --modversion")
run("${PKG_CONFIG}" --libs quillmark)
expect_in("${output}" "-lquillmark" "pkg-config --libs")
# The variables are relative to the .pc file; the files must be where they point.
foreach(variable_and_file "includedir;quillmark/version.h" "libdir;libquillmark.so" "rulesdir;scenarios.json")
  list(GET variable_and_file 0 variable)
  list(GET variable_and_file 1 expected_file)
  run("${PKG_CONFIG}" --variable=${variable} quillmark)
  string(STRIP "${output}" directory)
  if(NOT EXISTS "${directory}/${expected_file}")
    message(FATAL_ERROR "pkg-config ${variable} = ${directory}: no ${expected_file} there")
  endif()
endforeach()

# The installed tool lists the bundled scenarios from the prefix.
run("${prefix}/bin/quillmark" scenarios)
expect_in("${output}" "${prefix}/share/quillmark/rules/" "quillmark scenarios")
expect_in("${output}" "EN 16931 UBL Invoice" "quillmark scenarios")

file(REMOVE_RECURSE "${WORK_DIR}")
