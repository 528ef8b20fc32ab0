# PREFIX/bin/orvo is a link: the executable looks for the SDK three directories above its own place,
# in the installed tree as in the build tree.
set(ORVO_INSTALL_HOME lib/orvo)
install(TARGETS orvo DESTINATION ${ORVO_INSTALL_HOME}/libexec/orvo/bin)
install(DIRECTORY ${PROJECT_SOURCE_DIR}/sdk/zandor DESTINATION ${ORVO_INSTALL_HOME}/sdk
        PATTERN __pycache__ EXCLUDE)
install(FILES ${PROJECT_SOURCE_DIR}/sdk/README.md ${PROJECT_SOURCE_DIR}/sdk/pyproject.toml
        DESTINATION ${ORVO_INSTALL_HOME}/sdk)
install(CODE "
  set(bin \"\$ENV{DESTDIR}\${CMAKE_INSTALL_PREFIX}/bin\")
  file(MAKE_DIRECTORY \"\${bin}\")
  file(CREATE_LINK ../${ORVO_INSTALL_HOME}/libexec/orvo/bin/orvo \"\${bin}/orvo\" SYMBOLIC)
  message(STATUS \"Installing: \${bin}/orvo\")")
