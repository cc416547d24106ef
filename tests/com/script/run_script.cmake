# Runs a VBScript file with Wine's script host and compares its whole output
# with the expected lines (the script host hides a script's own errors: a
# check that never ran is a missing line). The script, kept in UTF-8, is
# handed over in Windows-1252, the ANSI code page in which the script host
# reads it (Wine's script host takes no byte-order mark).
#   cmake -DSCRIPT=x.vbs -DEXPECTED=x.expected -DWORK=folder -P run_script.cmake
get_filename_component(name "${SCRIPT}" NAME)
file(MAKE_DIRECTORY "${WORK}")
set(converted "${WORK}/${name}")
execute_process(COMMAND iconv -f UTF-8 -t WINDOWS-1252 "${SCRIPT}"
                OUTPUT_FILE "${converted}" RESULT_VARIABLE converted_status)
if(NOT converted_status EQUAL 0)
  message(FATAL_ERROR "The script could not be converted to Windows-1252")
endif()
string(REPLACE "/" "\\" windows_script "Z:${converted}")
execute_process(COMMAND wine cscript //nologo "${windows_script}"
                OUTPUT_VARIABLE output ERROR_VARIABLE errors RESULT_VARIABLE status
                TIMEOUT 120)
string(REPLACE "\r\n" "\n" output "${output}")
file(READ "${EXPECTED}" expected)
message("${output}")
if(NOT status EQUAL 0)
  message(FATAL_ERROR "cscript ended with ${status}: ${errors}")
endif()
if(NOT output STREQUAL expected)
  message(FATAL_ERROR "The script's output is not the expected one:\n${expected}")
endif()
