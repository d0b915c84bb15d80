#include <gtest/gtest.h>
#include <vips/vips8>

#include <clocale>
#include <csignal>

int main(int argc, char** argv) {
    std::setlocale(LC_ALL, "");
    std::signal(SIGPIPE, SIG_IGN);
    if (VIPS_INIT(argv[0]) != 0)
        return 1;
    testing::InitGoogleTest(&argc, argv);
    return RUN_ALL_TESTS();
}
