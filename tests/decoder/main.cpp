#include "decoder/Requests.h"

#include <gtest/gtest.h>

#include <clocale>

int main(int argc, char** argv) {
    std::setlocale(LC_ALL, ""); // as the program that links a toolkit has it
    testing::InitGoogleTest(&argc, argv);
    lumivert::decoder::prepareLibraries(argv[0]);
    return RUN_ALL_TESTS();
}
