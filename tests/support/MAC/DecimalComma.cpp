#include "DecimalComma.h"

#include <clocale>
#include <gtest/gtest.h>

DecimalComma::DecimalComma() {
    EXPECT_NE(std::setlocale(LC_ALL, "de_DE.UTF-8"), nullptr);
}

DecimalComma::~DecimalComma() {
    std::setlocale(LC_ALL, "C");
}
