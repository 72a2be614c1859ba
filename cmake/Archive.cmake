# Packs what CPack staged: the same bytes wherever and by whomever it is done.
set(archive ${CPACK_PACKAGE_DIRECTORY}/${CPACK_PACKAGE_FILE_NAME}.tar.gz)
execute_process(
  COMMAND tar --create --format=ustar --sort=name --owner=root:0 --group=root:0 --numeric-owner
    --mtime=@$ENV{SOURCE_DATE_EPOCH} --directory ${CPACK_TEMPORARY_DIRECTORY}/.. ${CPACK_PACKAGE_FILE_NAME}
  COMMAND gzip --no-name --best
  OUTPUT_FILE ${archive}
  COMMAND_ERROR_IS_FATAL ANY)
