# Run by CPack before it packs what is installed: Debian's packages hold manuals in compressed form.
file(GLOB manuals ${CPACK_TEMPORARY_DIRECTORY}/*/usr/share/man/man*/*.[0-9])
if(manuals)
    execute_process(COMMAND gzip --best --no-name ${manuals} COMMAND_ERROR_IS_FATAL ANY)
endif()
