# Writes RESULT from TEMPLATE, with VERSION and with the commit of the sources in SOURCE. Without git, or with
# sources that lie in the repository of something else, only the version is known.
set(COMMIT "")
execute_process(COMMAND git -C ${SOURCE} rev-parse --show-cdup
                RESULT_VARIABLE failed OUTPUT_VARIABLE up ERROR_QUIET OUTPUT_STRIP_TRAILING_WHITESPACE)
if(failed EQUAL 0 AND up STREQUAL "")
  execute_process(COMMAND git -C ${SOURCE} describe --always --abbrev=12 --dirty=\ and\ changes --exclude=*
                  RESULT_VARIABLE failed OUTPUT_VARIABLE found ERROR_QUIET OUTPUT_STRIP_TRAILING_WHITESPACE)
  if(failed EQUAL 0)
    set(COMMIT ", commit ${found}")
  endif()
endif()
configure_file(${TEMPLATE} ${RESULT} @ONLY)
