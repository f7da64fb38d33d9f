# What an archive of the library holds: library, headers, tool and docs.
install(TARGETS nvutil_B
    RUNTIME DESTINATION bin
    LIBRARY DESTINATION lib
    ARCHIVE DESTINATION lib
    FILE_SET HEADERS DESTINATION include/${PROJECT_NAME})

if(NVUTIL_TOOL)
    # The tool finds the library in the archive, wherever that is unpacked.
    set_target_properties(nvutil PROPERTIES INSTALL_RPATH "$ORIGIN/../lib")
    install(TARGETS nvutil RUNTIME DESTINATION bin)
endif()

if(WIN32)
    # The compiler's run-time libraries, which the build lays beside the DLL.
    install(DIRECTORY ${CMAKE_RUNTIME_OUTPUT_DIRECTORY}/ DESTINATION bin
        FILES_MATCHING PATTERN "lib*-*.dll")
endif()

install(FILES README.md DESTINATION share/doc/${PROJECT_NAME} OPTIONAL)
install(DIRECTORY docs/ DESTINATION share/doc/${PROJECT_NAME} OPTIONAL FILES_MATCHING PATTERN "*.md")

set(CPACK_PACKAGE_NAME ${PROJECT_NAME})
set(CPACK_PACKAGE_VENDOR ${PROJECT_NAME})
set(CPACK_PACKAGE_VERSION ${PROJECT_VERSION})
string(TOLOWER "${CMAKE_SYSTEM_NAME}-${CMAKE_SYSTEM_PROCESSOR}" system)
set(CPACK_PACKAGE_FILE_NAME ${PROJECT_NAME}-${PROJECT_VERSION}-${system})
set(CPACK_STRIP_FILES ON)
if(WIN32)
    set(CPACK_GENERATOR ZIP)
else()
    set(CPACK_GENERATOR TGZ)
endif()
include(CPack)
