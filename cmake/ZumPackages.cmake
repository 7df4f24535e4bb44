# What goes into the packages, and where: install rules for both worlds, and the Debian package by CPack.
# scripts/package.sh puts the packages together.
find_package(Python3 3.9 REQUIRED COMPONENTS Interpreter)

# One place for who stands behind the packages.
file(READ ${CMAKE_SOURCE_DIR}/packaging/identity.json identity)
set_property(DIRECTORY APPEND PROPERTY CMAKE_CONFIGURE_DEPENDS ${CMAKE_SOURCE_DIR}/packaging/identity.json)

if(WIN32)
  set(form win32)
else()
  set(form debian)
endif()
# Made anew each time that it is asked for, since it depends on the time of the sources, too.
set(documents ${CMAKE_BINARY_DIR}/packaging)
add_custom_target(zum_package_documents
  COMMAND ${Python3_EXECUTABLE} ${CMAKE_SOURCE_DIR}/packaging/documents.py ${form} ${PROJECT_VERSION} ${documents}
  VERBATIM)

if(WIN32)
  add_custom_target(zum_check_documents
    COMMAND ${Python3_EXECUTABLE} ${CMAKE_SOURCE_DIR}/packaging/documents.py check ${PROJECT_VERSION} ${documents}-check
    VERBATIM)
endif()

# The modes of folders don't depend on who builds.
set(CMAKE_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
  OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)
if(WIN32)
  install(TARGETS zum_setup_util zum_rehearse RUNTIME DESTINATION . COMPONENT programs)
  install(DIRECTORY ${documents}/ DESTINATION . COMPONENT documents)
  install(FILES $<TARGET_FILE:zum_setup_util>.debug $<TARGET_FILE:zum_rehearse>.debug DESTINATION . COMPONENT symbols)
  # The programs of this package come with tests/windows_check.
  install(DIRECTORY ${documents}-check/ DESTINATION . COMPONENT check)
  return()
endif()

set(package zum-rehearse)
install(TARGETS zum_rehearse RUNTIME DESTINATION bin)
install(FILES ${documents}/zum_rehearse.1.gz DESTINATION share/man/man1)
install(FILES ${documents}/copyright ${documents}/changelog.gz ${documents}/rehearsal.html
  ${documents}/rehearsal.schema.json DESTINATION share/doc/${package})
install(FILES packaging/debian/zum_rehearse.bash DESTINATION share/bash-completion/completions RENAME zum_rehearse)
install(FILES packaging/debian/zum_rehearse.zsh DESTINATION share/zsh/vendor-completions RENAME _zum_rehearse)
install(FILES packaging/debian/doc-base DESTINATION share/doc-base RENAME ${package}.rehearsal)
install(FILES packaging/debian/lintian-overrides DESTINATION share/lintian/overrides RENAME ${package})

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME ${package})
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS ${CMAKE_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS})
set(CPACK_STRIP_FILES ON)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
string(JSON CPACK_DEBIAN_PACKAGE_MAINTAINER GET "${identity}" maintainer)
set(CPACK_DEBIAN_PACKAGE_SECTION admin)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS ON)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION ON)
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "rehearse the repair of Windows Installer's records")
set(CPACK_DEBIAN_PACKAGE_DESCRIPTION
"Tells from exported registry files or hives of Windows machines what the
correction of zum_setup_util.exe would change on each of them, whether it
would succeed, and whether it would help. Nothing is changed.

Output is a table, JSON, CSV, a page, or files for import and for undoing
the correction.")
include(CPack)
