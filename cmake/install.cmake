# Where `cmake --install` puts things. The prefix may be changed at that moment, and DESTDIR may
# stand before it.

include(CMakePackageConfigHelpers)

set(package_dir ${CMAKE_INSTALL_LIBDIR}/cmake/orvane)

install(TARGETS orvane EXPORT orvaneTargets)
install(FILES include/orvane.h DESTINATION ${CMAKE_INSTALL_INCLUDEDIR})
# As they stand here, so that their links lead somewhere.
install(DIRECTORY docs DESTINATION ${CMAKE_INSTALL_DOCDIR})
install(FILES SECURITY.md DESTINATION ${CMAKE_INSTALL_DOCDIR})

install(EXPORT orvaneTargets NAMESPACE orvane:: DESTINATION ${package_dir})
configure_package_config_file(cmake/orvaneConfig.cmake.in orvaneConfig.cmake
    INSTALL_DESTINATION ${package_dir})
write_basic_package_version_file(orvaneConfigVersion.cmake COMPATIBILITY SameMajorVersion)
install(FILES
    ${PROJECT_BINARY_DIR}/orvaneConfig.cmake
    ${PROJECT_BINARY_DIR}/orvaneConfigVersion.cmake
    DESTINATION ${package_dir})

# The prefix is final only while installing, so what is made here is still a template for it.
function(from_prefix variable directory)
    if(IS_ABSOLUTE "${directory}")
        set(${variable} "${directory}" PARENT_SCOPE)
    else()
        set(${variable} "\${prefix}/${directory}" PARENT_SCOPE)
    endif()
endfunction()
from_prefix(pc_libdir "${CMAKE_INSTALL_LIBDIR}")
from_prefix(pc_includedir "${CMAKE_INSTALL_INCLUDEDIR}")
set(pc_prefix "@CMAKE_INSTALL_PREFIX@")
configure_file(cmake/liborvane.pc.in liborvane.pc.in @ONLY)
install(CODE "configure_file(\"${PROJECT_BINARY_DIR}/liborvane.pc.in\"
    \"${PROJECT_BINARY_DIR}/liborvane.pc\" @ONLY)")
install(FILES ${PROJECT_BINARY_DIR}/liborvane.pc DESTINATION ${CMAKE_INSTALL_LIBDIR}/pkgconfig)

# Where each shell looks for completions: zsh in one folder of packages and one of the others.
install(FILES completions/bash/orvane
    DESTINATION ${CMAKE_INSTALL_DATADIR}/bash-completion/completions)
install(FILES completions/fish/orvane.fish
    DESTINATION ${CMAKE_INSTALL_DATADIR}/fish/vendor_completions.d)
from_prefix(data_dir "${CMAKE_INSTALL_DATADIR}")
install(CODE "
    get_filename_component(prefix \"\${CMAKE_INSTALL_PREFIX}/\" ABSOLUTE)
    set(folder site-functions)
    if(prefix MATCHES \"^/(usr)?$\")
        set(folder vendor-completions)
    endif()
    file(INSTALL \"${PROJECT_SOURCE_DIR}/completions/zsh/_orvane\"
        DESTINATION \"${data_dir}/zsh/\${folder}\")")

# The trace log's directory, which the library makes with the umask of whoever traces first:
# `cmake --install BUILD --component log-directory` as root, or a package, makes it writable by root
# alone.
install(CODE "
    set(log_directory \"\$ENV{DESTDIR}/var/log/orvane\")
    message(STATUS \"Installing: \${log_directory}\")
    file(MAKE_DIRECTORY \"\${log_directory}\")
    execute_process(COMMAND chmod 755 \"\${log_directory}\" RESULT_VARIABLE status)
    if(NOT status EQUAL 0)
        message(FATAL_ERROR \"The mode of \${log_directory} cannot be set\")
    endif()"
    COMPONENT log-directory EXCLUDE_FROM_ALL)
