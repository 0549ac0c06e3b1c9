#include "whatif/registry.h"
#include "whatif/whatif.h"

#include <gtest/gtest.h>

namespace {

using namespace whatif;

constexpr wchar_t realPath[] = L"SOFTWARE\\keswsec-test\\copy";

TEST(RegistryValues, TextIsExactBothWays)
{
    const RegistryValue unterminated = {REG_SZ, {'1', 0}};
    const struct
    {
        RegistryValue value;
        const wchar_t* text;
    } cases[] = {
        {registryText(L"1"), L"1"},
        {registryText(L""), L""},
        {registryText(L"%SystemRoot%\\x.dll", REG_EXPAND_SZ), L"expand:%SystemRoot%\\x.dll"},
        {registryNumber(7), L"dword:7"},
        {registryText(L"dword:7"), L"hex(1):64,00,77,00,6f,00,72,00,64,00,3a,00,37,00,00,00"},
        {unterminated, L"hex(1):31,00"},
        {{REG_SZ, {'1'}}, L"hex(1):31"},
        {{REG_DWORD, {1, 2}}, L"hex(4):01,02"},
        {{REG_BINARY, {}}, L"hex(3):"},
    };
    for (const auto& row : cases) {
        EXPECT_EQ(textOf(row.value), row.text);
        EXPECT_EQ(registryValueOf(row.text), row.value);
    }
    for (const wchar_t* const wrong : {L"dword:", L"dword:x", L"hex(3", L"hex(3):zz", L"hex():"})
        EXPECT_THROW(registryValueOf(wrong), std::runtime_error) << testing::PrintToString(std::wstring(wrong));
}

TEST(Registry, NodesAreApartAndLeaveNothingBehind)
{
    {
        World world(Base::described);
        Registry& registry = world.registry();
        const Node& local = world.local();
        const Node& other = world.add(L"db2");
        registry.setValue(local, L"SOFTWARE\\Kestel\\KEY_h1", L"KESTEL_HOME_TYPE", registryText(L"1"));
        EXPECT_EQ(registry.value(local, L"software\\kestel\\key_H1", L"kestel_home_type"), registryText(L"1"));
        EXPECT_FALSE(registry.hasKey(other, L"SOFTWARE\\Kestel"));
        EXPECT_FALSE(registry.hasKey(local, L"SOFTWARE\\Microsoft"));
    }
    HKEY key = nullptr;
    EXPECT_EQ(RegOpenKeyExW(HKEY_CURRENT_USER, L"Software\\keswsec-what-if", 0, KEY_READ, &key), ERROR_FILE_NOT_FOUND);
}

class RegistryOfThisMachine : public testing::Test
{
protected:
    RegistryOfThisMachine()
    {
        HKEY key = nullptr;
        EXPECT_EQ(RegCreateKeyExW(HKEY_LOCAL_MACHINE, realPath, 0, nullptr, REG_OPTION_VOLATILE, KEY_ALL_ACCESS,
                                  nullptr, &key, nullptr),
                  ERROR_SUCCESS);
        const RegistryValue text = registryText(L"real");
        RegSetValueExW(key, L"value", 0, text.type, text.data.data(), static_cast<DWORD>(text.data.size()));
        RegCloseKey(key);
    }

    ~RegistryOfThisMachine() override { RegDeleteTreeW(HKEY_LOCAL_MACHINE, L"SOFTWARE\\keswsec-test"); }

    static std::wstring realValue()
    {
        wchar_t text[16] = L"";
        DWORD size = sizeof text;
        RegGetValueW(HKEY_LOCAL_MACHINE, realPath, L"value", RRF_RT_REG_SZ, nullptr, text, &size);
        return text;
    }

    World world{Base::thisMachine};
    Registry& registry = world.registry();
    Node& node = world.local();
};

TEST_F(RegistryOfThisMachine, WritesStayInTheNode)
{
    EXPECT_EQ(registry.value(node, realPath, L"VALUE"), registryText(L"real"));
    registry.setValue(node, realPath, L"value", registryText(L"node"));
    EXPECT_EQ(registry.value(node, realPath, L"value"), registryText(L"node"));
    EXPECT_EQ(realValue(), L"real");
}

TEST_F(RegistryOfThisMachine, DeletedKeysStayDeleted)
{
    EXPECT_EQ(registry.remove({&node, L"SOFTWARE\\keswsec-test"}), ERROR_ACCESS_DENIED); // it has a subkey
    EXPECT_EQ(registry.remove({&node, realPath}), ERROR_SUCCESS);
    EXPECT_FALSE(registry.hasKey(node, realPath));
    EXPECT_EQ(registry.remove({&node, realPath}), ERROR_FILE_NOT_FOUND);
    EXPECT_EQ(realValue(), L"real");

    std::vector<std::wstring> created;
    HKEY key = nullptr;
    ASSERT_EQ(registry.create({&node, realPath}, KEY_READ, L"", key, created), ERROR_SUCCESS);
    RegCloseKey(key);
    EXPECT_EQ(created, std::vector<std::wstring>{realPath});
    EXPECT_FALSE(registry.value(node, realPath, L"value")); // new, not the old one
    EXPECT_EQ(registry.remove({&node, realPath}), ERROR_SUCCESS);
    EXPECT_EQ(registry.remove({&node, L"SOFTWARE\\keswsec-test"}), ERROR_SUCCESS); // its subkey is gone
}

} // namespace
