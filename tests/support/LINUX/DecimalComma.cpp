#include "DecimalComma.h"

#include <clocale>
#include <cstdlib>
#include <gtest/gtest.h>

// Few machines have such a locale installed, so one is made.
DecimalComma::DecimalComma() {
    const std::string make = "localedef --no-archive -i de_DE -f UTF-8 " + (m_folder / "de_DE.UTF-8");
    EXPECT_EQ(std::system(make.c_str()), 0);
    setenv("LOCPATH", m_folder.path().c_str(), 1);
    EXPECT_NE(std::setlocale(LC_ALL, "de_DE.UTF-8"), nullptr);
}

DecimalComma::~DecimalComma() {
    std::setlocale(LC_ALL, "C");
    unsetenv("LOCPATH");
}
