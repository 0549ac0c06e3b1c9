// What the release and the product type answer, asked of the platform once.
#include "tests/support/node_test.h"

namespace {

using Release = std::tuple<DWORD, DWORD, BYTE, const char*, const char*, const char*, const char*>;

class OsVersion : public support::NodeTest, public testing::WithParamInterface<Release>
{
};

} // namespace

TEST_P(OsVersion, DecidesThePredicates)
{
    const auto& [major, minor, product, vista, win7, win8, controller] = GetParam();
    local.major = major;
    local.minor = minor;
    local.productType = product;
    expect({{"IsOSWinDC", "3 WSE-000045 31", {}, support::failing("GetVersionExA", ERROR_GEN_FAILURE)},
            {"IsOSWinDC", controller}});
    local.major = 0;
    local.productType = 0;
    expect(
        {{"IsOSVistaOrAbove", vista}, {"IsOSWin7OrAbove", win7}, {"IsOSWin8OrAbove", win8}, {"IsOSWinDC", controller}});
}

INSTANTIATE_TEST_SUITE_P(Frame, OsVersion,
                         testing::Values(Release{5, 2, 2, "0", "0", "0", "1"}, Release{6, 0, 1, "1", "0", "0", "0"},
                                         Release{6, 1, 3, "1", "1", "0", "0"}, Release{6, 1, 2, "1", "1", "0", "1"},
                                         Release{6, 2, 1, "1", "1", "1", "0"}, Release{10, 0, 3, "1", "1", "1", "0"},
                                         Release{7, 0, 2, "1", "1", "1", "1"}, Release{5, 9, 1, "0", "0", "0", "0"}));
