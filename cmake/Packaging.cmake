# What is installed where.
#
# cmake --install BUILD --prefix DIR gives a directory that runs where it stands, for any user:
# DIR/lib/lobby-server holds the binary with its configuration and log/ beside it, as the process
# expects. The Debian package has the same directory, but its configuration and log/ are links to
# /etc/lobby-server and /var/log/lobby-server, which dpkg and administrators know how to keep.
#
# What only tests a lobby is a package of its own, lobby-server-tools, and each has one of symbols.
set(LOBBY_HOME lib/lobby-server)
set(LOBBY_CONFIG_FILES LobbyServer.cfg SensitiveName.cfg compete_info.cfg disconnectuserid.cfg)
# Directories made on the way have the usual mode whatever the umask of whoever installs.
set(CMAKE_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS
    OWNER_READ OWNER_WRITE OWNER_EXECUTE GROUP_READ GROUP_EXECUTE WORLD_READ WORLD_EXECUTE)

install(TARGETS LobbyServer RUNTIME DESTINATION ${LOBBY_HOME} COMPONENT program)
install(TARGETS lobby_check lobby_client RUNTIME DESTINATION bin COMPONENT program)
install(TARGETS lobby_load platform_sim RUNTIME DESTINATION bin COMPONENT tools)
install(DIRECTORY web DESTINATION share/lobby-server-tools COMPONENT tools)
# Documents lie as they do in the tree, so that their links and the paths that they name lead there.
set(LOBBY_DOC share/doc/lobby-server)
install(FILES README.md CHANGELOG.md CONTRIBUTING.md DESTINATION ${LOBBY_DOC} COMPONENT program)
install(FILES web/README.md DESTINATION ${LOBBY_DOC}/web COMPONENT program)
install(DIRECTORY docs DESTINATION ${LOBBY_DOC} COMPONENT program)
install(DIRECTORY tools/wireshark DESTINATION ${LOBBY_DOC}/tools COMPONENT program)
install(FILES tests/wireshark/session.pcap DESTINATION ${LOBBY_DOC}/tests/wireshark COMPONENT program)
install(DIRECTORY deploy DESTINATION ${LOBBY_DOC} COMPONENT program
        PATTERN CMakeLists.txt EXCLUDE
        PATTERN debian EXCLUDE
        PATTERN systemd EXCLUDE)

# Manual pages, of what each program says of itself, and the change log, compressed as Debian has it.
find_program(GZIP gzip REQUIRED)
add_custom_target(package_files ALL)
# lobby_compressed(COMPONENT DESTINATION NAME DEPENDENCY COMMAND...): the command's output, as NAME.gz
function(lobby_compressed component destination name dependency)
    set(folder "${PROJECT_BINARY_DIR}/package/${component}")
    file(MAKE_DIRECTORY "${folder}")
    add_custom_command(OUTPUT "${folder}/${name}.gz" VERBATIM
                       COMMAND bash -o pipefail -c "\"\$@\" | \"\$0\" -9n" "${GZIP}" ${ARGN}
                               > "${folder}/${name}.gz"
                       DEPENDS scripts/manual.sh ${dependency}
                       WORKING_DIRECTORY "${PROJECT_SOURCE_DIR}")
    add_custom_target(package_${component}_${name} DEPENDS "${folder}/${name}.gz")
    add_dependencies(package_files package_${component}_${name})
    install(FILES "${folder}/${name}.gz" DESTINATION ${destination} COMPONENT ${component})
endfunction()
# lobby_manual(COMPONENT SECTION NAME SUMMARY DESCRIPTION PROGRAM ARGUMENT); - is no description
function(lobby_manual component section name summary description program argument)
    lobby_compressed(${component} share/man/man${section} ${name}.${section} ${program}
                     scripts/manual.sh ${name} ${section} ${summary} ${description}
                     $<TARGET_FILE:${program}> ${argument})
endfunction()
lobby_manual(program 8 LobbyServer "lobby server of an online game platform" - LobbyServer --help)
lobby_manual(program 5 LobbyServer.cfg "configuration of LobbyServer and the three files beside it"
             "Lines are [section] and key=value. There are no comments and no quotes. Of keys of one \
name in a section the first counts, a key that is missing takes its default, and what the log says \
of a value lobby_check(1) says before." lobby_check --keys)
lobby_manual(program 1 lobby_check "examines the configuration of a LobbyServer" - lobby_check --help)
lobby_manual(program 1 lobby_client "a player on the command line" - lobby_client --help)
lobby_manual(tools 1 lobby_load "makes load on a LobbyServer and measures its answers" - lobby_load
             --help-all)
lobby_manual(tools 1 platform_sim "plays the six back-end servers of a LobbyServer" - platform_sim
             --help)
foreach(pair program:lobby-server tools:lobby-server-tools)
    string(REPLACE ":" ";" pair ${pair})
    list(POP_FRONT pair component name)
    lobby_compressed(${component} share/doc/${name} changelog deploy/debian/changelog
                     cat deploy/debian/changelog)
    install(FILES deploy/debian/copyright DESTINATION share/doc/${name} COMPONENT ${component})
endforeach()

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

set(LOBBY_CONTACT "The LobbyServer developers <lobby-server@lobby.example>" CACHE STRING
    "Whom the packages name as their maintainer")
set(CPACK_GENERATOR DEB)
set(CPACK_PACKAGE_NAME lobby-server)
set(CPACK_PACKAGE_CONTACT "${LOBBY_CONTACT}")
# Taking the symbols out strips the programs.
set(CPACK_STRIP_FILES FALSE)
set(CPACK_DEBIAN_DEBUGINFO_PACKAGE TRUE)
set(CPACK_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS ${CMAKE_INSTALL_DEFAULT_DIRECTORY_PERMISSIONS})
set(CPACK_COMPONENTS_ALL program debian tools)
set(CPACK_COMPONENTS_GROUPING ONE_PER_GROUP)
set(CPACK_COMPONENT_PROGRAM_GROUP server)
set(CPACK_COMPONENT_DEBIAN_GROUP server)
set(CPACK_COMPONENT_TOOLS_GROUP tools)
set(CPACK_DEB_COMPONENT_INSTALL TRUE)
set(CPACK_DEBIAN_FILE_NAME DEB-DEFAULT)
set(CPACK_DEBIAN_PACKAGE_SECTION net)
set(CPACK_DEBIAN_PACKAGE_SHLIBDEPS TRUE)
set(CPACK_DEBIAN_PACKAGE_CONTROL_STRICT_PERMISSION TRUE)

# The first line of each description is its summary.
set(CPACK_DEBIAN_SERVER_PACKAGE_NAME lobby-server)
set(CPACK_COMPONENT_SERVER_DESCRIPTION "lobby server of an online game platform
Players connect to it before and between games, over TCP or WebSocket.
It needs the platform's six back-end servers and a Redis. lobby_check
examines its configuration, lobby_client is a player on the command line.")
set(CPACK_DEBIAN_SERVER_PACKAGE_DEPENDS adduser)
set(CPACK_DEBIAN_SERVER_PACKAGE_SUGGESTS "redis-server, lobby-server-tools, systemd-coredump")
set(CPACK_DEBIAN_SERVER_PACKAGE_CONTROL_EXTRA
    "${PROJECT_SOURCE_DIR}/deploy/debian/conffiles" "${PROJECT_SOURCE_DIR}/deploy/debian/postinst"
    "${PROJECT_SOURCE_DIR}/deploy/debian/prerm" "${PROJECT_SOURCE_DIR}/deploy/debian/postrm")

set(CPACK_DEBIAN_TOOLS_PACKAGE_NAME lobby-server-tools)
set(CPACK_COMPONENT_TOOLS_DESCRIPTION "load generator and simulated platform for a lobby server
lobby_load puts a lobby under load and measures it. platform_sim plays the
six back-end servers, and serves the player's page that is in
/usr/share/lobby-server-tools/web.")
set(CPACK_DEBIAN_TOOLS_PACKAGE_SUGGESTS lobby-server)
include(CPack)
