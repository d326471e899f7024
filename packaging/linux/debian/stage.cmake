# Run by cpack over the staged files, before they are packed: what the distribution asks of a package beyond the files of
# an installation (a changelog, compressed manual pages), and one date for all.
set(stage ${CPACK_TEMPORARY_INSTALL_DIRECTORY})
set(date $ENV{SOURCE_DATE_EPOCH})
if(NOT date)
  string(TIMESTAMP date %s UTC)
endif()
execute_process(COMMAND date --utc --rfc-email --date=@${date} OUTPUT_VARIABLE written OUTPUT_STRIP_TRAILING_WHITESPACE
                COMMAND_ERROR_IS_FATAL ANY)
foreach(package vnxtest-cli vnxtest)
  set(folder ${stage}/${package}/usr/share)
  if(NOT EXISTS ${folder}/doc/${package})
    continue()
  endif()
  file(WRITE ${folder}/doc/${package}/changelog "${package} (${CPACK_PACKAGE_VERSION}) unstable; urgency=medium

  * See the history of the sources.

 -- ${CPACK_PACKAGE_CONTACT}  ${written}
")
  file(GLOB pages ${folder}/man/man[0-9]/*.[0-9])
  execute_process(COMMAND gzip --best --no-name ${folder}/doc/${package}/changelog ${pages} COMMAND_ERROR_IS_FATAL ANY)
endforeach()
# The zip archive of the help book has the times of when it was read.
find_program(STRIP_NONDETERMINISM strip-nondeterminism REQUIRED)
if(EXISTS ${stage}/vnxtest/usr/share/vnxtest/vnxtest.htb)
  execute_process(COMMAND ${STRIP_NONDETERMINISM} --timestamp ${date} --type zip ${stage}/vnxtest/usr/share/vnxtest/vnxtest.htb
                  COMMAND_ERROR_IS_FATAL ANY)
endif()
execute_process(COMMAND find ${stage} -mindepth 1 -type d -empty -delete COMMAND_ERROR_IS_FATAL ANY)
# Modes whatever the umask was, and one date.
execute_process(COMMAND chmod -R u=rwX,go=rX ${stage} COMMAND_ERROR_IS_FATAL ANY)
execute_process(COMMAND find ${stage} -exec touch --no-dereference --date=@${date} {} + COMMAND_ERROR_IS_FATAL ANY)
