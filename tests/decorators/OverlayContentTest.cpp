#include "decorators/OverlayContent.h"

#include <gtest/gtest.h>

#include <string>

namespace kel::test {
namespace {

using decorators::OverlayBudget;
using decorators::OverlayContent;
using platform::SysError;

std::span<const std::byte> BytesOf(const std::string& text) {
    return std::as_bytes(std::span(text));
}

TEST(OverlayContent, BeyondItsMemoryTheDiskIsFull) {
    const auto budget = std::make_shared<OverlayBudget>(3 * 4096);
    {
        OverlayContent first(budget);
        OverlayContent second(budget);
        EXPECT_EQ(first.Write(0, BytesOf(std::string(8192, 'x'))), SysError::Success);
        EXPECT_EQ(second.Write(0, BytesOf("x")), SysError::Success);
        EXPECT_EQ(second.Write(4096, BytesOf("x")), SysError::DiskFull);
        EXPECT_EQ(second.Size(), 1U);
        EXPECT_EQ(second.Write(1, BytesOf("more into the same page")), SysError::Success);
        first.SetSize(100);
        EXPECT_EQ(second.Write(4096, BytesOf("x")), SysError::Success) << "what was cut off is free again";
    }
    OverlayContent third(budget);
    EXPECT_EQ(third.Write(0, BytesOf(std::string(3 * 4096, 'x'))), SysError::Success) << "all is free again";
}

TEST(OverlayContent, WhatWasCutOffComesBackAsZeros) {
    OverlayContent content(std::make_shared<OverlayBudget>(1 << 20));
    ASSERT_EQ(content.Write(0, BytesOf("0123456789")), SysError::Success);
    content.SetSize(4);
    content.SetSize(8);
    std::string text(10, '?');
    EXPECT_EQ(content.Read(0, std::as_writable_bytes(std::span(text))).ValueOr(0), 8U);
    EXPECT_EQ(text, std::string("0123\0\0\0\0??", 10));
}

}  // namespace
}  // namespace kel::test
