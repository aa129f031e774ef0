# CPack runs this before it builds the packages: Debian's packages contain compressed manuals.
file(GLOB manuals ${CPACK_TEMPORARY_DIRECTORY}/*/usr/share/man/man*/*.[0-9])
if(manuals)
    execute_process(COMMAND gzip --best --no-name ${manuals} COMMAND_ERROR_IS_FATAL ANY)
endif()
