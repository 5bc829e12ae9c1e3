# What is installed where.
#
# cmake --install BUILD --prefix DIR gives a directory that runs where it stands, for any user:
# DIR/lib/lobby-server holds the binary with its configuration and log/ beside it, as the process
# expects. The Debian package has the same directory, but its configuration and log/ are links to
# /etc/lobby-server and /var/log/lobby-server, which dpkg and administrators know how to keep.
set(LOBBY_HOME lib/lobby-server)
set(LOBBY_CONFIG_FILES LobbyServer.cfg SensitiveName.cfg compete_info.cfg disconnectuserid.cfg)
# Directories made on the way have the usual mode whatever the umask of whoever installs.
set(CMAKE_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

install(TARGETS LobbyServer RUNTIME DESTINATION ${LOBBY_HOME} COMPONENT program)
install(TARGETS lobby_check lobby_client RUNTIME DESTINATION bin COMPONENT program)
install(DIRECTORY docs/ DESTINATION share/doc/lobby-server COMPONENT program)
install(DIRECTORY deploy/ DESTINATION share/doc/lobby-server/examples COMPONENT program
        PATTERN CMakeLists.txt EXCLUDE
        PATTERN debian EXCLUDE
        PATTERN systemd EXCLUDE)

file(MAKE_DIRECTORY "${PROJECT_BINARY_DIR}/package")
foreach(name ${LOBBY_CONFIG_FILES})
    # An edited file is kept.
    install(CODE "
        if(NOT EXISTS \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/${LOBBY_HOME}/${name}\")
            file(INSTALL \"${PROJECT_SOURCE_DIR}/deploy/config/${name}\"
                 DESTINATION \"\${CMAKE_INSTALL_PREFIX}/${LOBBY_HOME}\")
        endif()" COMPONENT configuration)
    file(CREATE_LINK "/etc/lobby-server/${name}" "${PROJECT_BINARY_DIR}/package/${name}" SYMBOLIC)
    install(FILES "${PROJECT_BINARY_DIR}/package/${name}" DESTINATION ${LOBBY_HOME}
            COMPONENT debian EXCLUDE_FROM_ALL)
    install(FILES "deploy/config/${name}" DESTINATION /etc/lobby-server COMPONENT debian
            EXCLUDE_FROM_ALL)
endforeach()
file(CREATE_LINK /var/log/lobby-server "${PROJECT_BINARY_DIR}/package/log" SYMBOLIC)
install(FILES "${PROJECT_BINARY_DIR}/package/log" DESTINATION ${LOBBY_HOME} COMPONENT debian
        EXCLUDE_FROM_ALL)
install(FILES deploy/systemd/lobby-server.service DESTINATION /lib/systemd/system COMPONENT debian
        EXCLUDE_FROM_ALL)
install(FILES deploy/systemd/tmpfiles.conf DESTINATION /usr/lib/tmpfiles.d
        RENAME lobby-server.conf COMPONENT debian EXCLUDE_FROM_ALL)

set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME lobby-server)
set(CPACK_PACKAGE_CONTACT "The LobbyServer developers <lobby-server@localhost>")
set(CPACK_PACKAGE_DESCRIPTION_SUMMARY "lobby server of an online game platform")
set(CPACK_PACKAGE_DESCRIPTION
    "Players connect to it before and between games, over TCP or WebSocket. It needs the platform's
six back-end servers and a Redis. lobby_check examines its configuration, lobby_client is a player
on the command line.")
set(CPACK_STRIP_FILES TRUE)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS ${CMAKE_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS})
set(CPACK_COMPONENTS_ALL program debian)
set(CPACK_COMPONENTS_GROUPING ALL_COMPONENTS_IN_ONE)
set(CPACK_DEB_COMPONENT_INSTALL TRUE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION games)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS TRUE)
set(CPACK_DEBIAN_PACKAGE_DEPENDS adduser)
set(CPACK_DEBIAN_PACKAGE_SUGGESTS redis-server)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION TRUE)
set(CPACK_DEBIAN_PACKAGE_CONTROL_EXTRA
    "${PROJECT_SOURCE_DIR}/deploy/debian/conffiles" "${PROJECT_SOURCE_DIR}/deploy/debian/postinst"
    "${PROJECT_SOURCE_DIR}/deploy/debian/prerm" "${PROJECT_SOURCE_DIR}/deploy/debian/postrm")
include(CPack)
