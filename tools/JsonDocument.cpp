// SPDX-License-Identifier: Apache-2.0
#include "tools/JsonDocument.h"

#include <utility>
#include <vector>

namespace Corvana::Tools {
namespace {

using nlohmann::json;

// So that what follows a tree may call itself.
constexpr std::size_t s_uiMaxDepth = 16;

// The library destroys what a value holds by way of a list of it; it needs none for what holds nothing.
void empty(json& inout_value)
{
    if (auto* pArray = inout_value.get_ptr<json::array_t*>()) {
        for (json& item : *pArray)
            empty(item);
        pArray->clear();
    } else if (auto* pObject = inout_value.get_ptr<json::object_t*>()) {
        for (auto& [strKey, value] : *pObject)
            empty(value);
        pObject->clear();
    }
}

/// Makes the tree of a text, in which each value is in its place from the beginning.
class TreeBuilder : public nlohmann::json_sax<json>
{
public:
    explicit TreeBuilder(json& inout_root)
        : m_root(inout_root)
    {
    }

    bool isTooDeep() const { return m_bTooDeep; }

    bool null() override { return take(json()); }
    bool boolean(bool in_bValue) override { return take(json(in_bValue)); }
    bool number_integer(number_integer_t in_iValue) override { return take(json(in_iValue)); }
    bool number_unsigned(number_unsigned_t in_uiValue) override { return take(json(in_uiValue)); }
    bool number_float(number_float_t in_dValue, const string_t&) override { return take(json(in_dValue)); }
    bool string(string_t& inout_strValue) override { return take(json(std::move(inout_strValue))); }
    bool binary(binary_t& inout_value) override { return take(json(std::move(inout_value))); }
    bool start_object(std::size_t) override { return open(json::value_t::object); }
    bool start_array(std::size_t) override { return open(json::value_t::array); }
    bool end_object() override { return close(); }
    bool end_array() override { return close(); }
    bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception&) override { return false; }

    bool key(string_t& inout_strKey) override
    {
        m_pMember = &(*m_vOpen.back()->get_ptr<json::object_t*>())[inout_strKey];
        empty(*m_pMember); // of a key that comes again, the last value counts
        return true;
    }

private:
    // Where the next value belongs.
    json& place()
    {
        if (m_vOpen.empty())
            return m_root;
        auto* pArray = m_vOpen.back()->get_ptr<json::array_t*>();
        return pArray == nullptr ? *m_pMember : pArray->emplace_back();
    }

    bool take(json in_value)
    {
        place() = std::move(in_value);
        return true;
    }

    bool open(json::value_t in_type)
    {
        m_bTooDeep = m_vOpen.size() == s_uiMaxDepth;
        if (m_bTooDeep)
            return false;
        json& value = place();
        value = json(in_type);
        m_vOpen.push_back(&value);
        return true;
    }

    bool close()
    {
        m_vOpen.pop_back();
        return true;
    }

    json& m_root;
    std::vector<json*> m_vOpen;
    json* m_pMember = nullptr;
    bool m_bTooDeep = false;
};

} // namespace

JsonDocument::~JsonDocument()
{
    empty(m_root);
}

bool JsonDocument::parse(std::string_view in_strText)
{
    TreeBuilder builder(m_root);
    if (json::sax_parse(in_strText, &builder))
        return true;
    m_szFault = builder.isTooDeep() ? "is nested deeper than anything that corvana writes" : "is no JSON";
    return false;
}

} // namespace Corvana::Tools
