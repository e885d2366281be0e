# Turns rf/rf-plans.csv into the C++ table of the RF channel plan.
#   cmake -DCSV=rf/rf-plans.csv -DOUT=rf_plan_table.cpp -P rf/make_rf_plan_table.cmake
# One CSV row per channel:
#   country_alpha2,band_number,band_name,band_start_khz,band_stop_khz,
#   channel_bandwidth_khz,channel_name,centre_khz,note
# Rows of one band repeat the band's fields; they must agree. Fields hold no
# commas and no quotes; the note is free text and is not used.

cmake_minimum_required(VERSION 3.25)

if(NOT CSV OR NOT OUT)
  message(FATAL_ERROR "usage: cmake -DCSV=<plan.csv> -DOUT=<table.cpp> -P make_rf_plan_table.cmake")
endif()

file(READ "${CSV}" text)
# CMake lists split on ';' and brackets upset them: neither may survive.
string(REPLACE ";" "," text "${text}")
string(REPLACE "[" "(" text "${text}")
string(REPLACE "]" ")" text "${text}")
string(REPLACE "\r" "" text "${text}")
string(REPLACE "\n" ";" lines "${text}")

set(expected_header "country_alpha2,band_number,band_name,band_start_khz,band_stop_khz,channel_bandwidth_khz,channel_name,centre_khz,note")
list(GET lines 0 header)
if(NOT header STREQUAL expected_header)
  message(FATAL_ERROR "${CSV}:1: unexpected header\n  ${header}\nexpected\n  ${expected_header}")
endif()

function(c_string out value)
  string(REPLACE "\\" "\\\\" value "${value}")
  string(REPLACE "\"" "\\\"" value "${value}")
  set(${out} "\"${value}\"" PARENT_SCOPE)
endfunction()

set(body "")
set(count 0)
set(line_number 0)
foreach(line IN LISTS lines)
  math(EXPR line_number "${line_number} + 1")
  if(line_number EQUAL 1 OR line STREQUAL "")
    continue()
  endif()
  string(REPLACE "," ";" fields "${line}")
  list(LENGTH fields nfields)
  if(nfields LESS 8)
    message(FATAL_ERROR "${CSV}:${line_number}: ${nfields} fields, at least 8 expected")
  endif()
  list(GET fields 0 country)
  list(GET fields 1 band)
  list(GET fields 2 band_name)
  list(GET fields 3 start)
  list(GET fields 4 stop)
  list(GET fields 5 bandwidth)
  list(GET fields 6 channel)
  list(GET fields 7 centre)
  if(NOT country MATCHES "^[A-Z][A-Z]$")
    message(FATAL_ERROR "${CSV}:${line_number}: country '${country}' is not an upper-case alpha-2 code")
  endif()
  foreach(number IN ITEMS band start stop bandwidth centre)
    if(NOT "${${number}}" MATCHES "^[0-9]+$")
      message(FATAL_ERROR "${CSV}:${line_number}: ${number} '${${number}}' is not a whole number")
    endif()
  endforeach()
  if(channel STREQUAL "" OR band_name STREQUAL "")
    message(FATAL_ERROR "${CSV}:${line_number}: empty band or channel name")
  endif()
  set(band_key "band_${country}_${band}")
  set(band_fields "${band_name}|${start}|${stop}|${bandwidth}")
  if(DEFINED ${band_key})
    if(NOT "${${band_key}}" STREQUAL "${band_fields}")
      message(FATAL_ERROR "${CSV}:${line_number}: band ${country} ${band} disagrees with its first row (${${band_key}})")
    endif()
  else()
    set(${band_key} "${band_fields}")
  endif()
  c_string(band_c "${band_name}")
  c_string(channel_c "${channel}")
  string(APPEND body "    {Country::${country}, ${band}, ${band_c}, ${start}, ${stop}, ${bandwidth}, ${channel_c}, ${centre}},\n")
  math(EXPR count "${count} + 1")
endforeach()

if(count EQUAL 0)
  message(FATAL_ERROR "${CSV}: no channels")
endif()

file(WRITE "${OUT}.tmp" "// Generated from rf/rf-plans.csv by rf/make_rf_plan_table.cmake. Edit the CSV.
#include \"platform/rf_plan_rows.h\"

namespace tavel {
namespace thrift {
namespace coax {

// country, band, band name, band start, band stop, channel bandwidth (kHz),
// channel name, centre (kHz)
const RfPlanRow kRfPlanRows[] = {
${body}};

const std::size_t kRfPlanRowCount = sizeof(kRfPlanRows) / sizeof(kRfPlanRows[0]);

} // namespace coax
} // namespace thrift
} // namespace tavel
")
# Only touch the table when it changed, so a re-run rebuilds nothing.
file(COPY_FILE "${OUT}.tmp" "${OUT}" ONLY_IF_DIFFERENT)
file(REMOVE "${OUT}.tmp")
