# What the reference processor gives for one invoice under one or more rule sets, as
# the line "valid|invalid ID ID ...": invalid when a fatal or error assertion fired,
# then the distinct ids that fired (errors, warnings and information alike), sorted.
# Used by scripts/run-examples.
#
# cmake -DCORPUS=DIR -DKEY=PATH -DRULESETS="en16931-ubl;xrechnung-ubl" [-DLEAVE_OUT="ID;ID"]
#       -P scripts/reference-outcome.cmake
#   KEY       the invoice's path relative to the corpus, as the reference files name it
#   RULESETS  reference files (CORPUS/reference/NAME.json)
#   LEAVE_OUT ids that do not apply to the invoice checked

cmake_minimum_required(VERSION 3.22)

set(verdict valid)
set(ids "")
foreach(ruleset IN LISTS RULESETS)
  file(READ "${CORPUS}/reference/${ruleset}.json" reference)
  string(JSON outcome ERROR_VARIABLE missing GET "${reference}" invoices "${KEY}")
  if(missing)
    message(FATAL_ERROR "${ruleset}: no reference outcome for ${KEY}")
  endif()
  string(JSON stopped ERROR_VARIABLE no_error GET "${outcome}" error)
  if(NOT no_error)
    set(verdict "stopped")
  endif()
  string(JSON count LENGTH "${outcome}" fired)
  if(count EQUAL 0)
    continue()
  endif()
  math(EXPR last "${count} - 1")
  foreach(index RANGE ${last})
    string(JSON id GET "${outcome}" fired ${index} id)
    if(id IN_LIST LEAVE_OUT)
      continue()
    endif()
    string(JSON flag ERROR_VARIABLE no_flag GET "${outcome}" fired ${index} flag)
    if(flag STREQUAL "fatal" OR flag STREQUAL "error")
      if(verdict STREQUAL "valid")
        set(verdict invalid)
      endif()
    endif()
    list(APPEND ids "${id}")
  endforeach()
endforeach()
list(REMOVE_DUPLICATES ids)
list(SORT ids)
list(PREPEND ids "${verdict}")
list(JOIN ids " " line)
execute_process(COMMAND ${CMAKE_COMMAND} -E echo "${line}")
