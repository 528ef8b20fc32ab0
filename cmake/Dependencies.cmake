# Third-party libraries, all from Debian packages (scripts/packages.txt).
find_package(PkgConfig REQUIRED)
find_package(Threads REQUIRED)
find_package(OpenSSL REQUIRED)
find_package(spdlog REQUIRED)
find_package(nlohmann_json REQUIRED)
pkg_check_modules(capstone REQUIRED IMPORTED_TARGET capstone)
find_package(cxxopts REQUIRED)
