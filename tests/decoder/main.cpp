#include "decoder/Requests.h"

#include <gtest/gtest.h>

int main(int argc, char** argv) {
    testing::InitGoogleTest(&argc, argv);
    lumivert::decoder::prepareLibraries(argv[0]);
    return RUN_ALL_TESTS();
}
