// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <cstdint>
#include <string>

namespace Corvana::Tools {

/// Writes a JSON object on one line, in the order in which its values are given. The text is all that it holds, so that
/// one that memory runs out for can be given up.
class JsonWriter
{
public:
    void putNumber(const char* in_szKey, std::uint64_t in_uiValue);
    void putAmount(const char* in_szKey, double in_dValue);
    void putFlag(const char* in_szKey, bool in_bValue);
    void putNull(const char* in_szKey);
    /// JSON knows no bytes that are no UTF-8, which names of files may have: such a text has U+FFFD in their place, and
    /// beside it stands KEY_hex with all of its bytes.
    void putText(const std::string& in_strKey, const std::string& in_strText);

    /// @name What follows, up to end(), stands in an object or an array
    /// @{
    void beginObject(const char* in_szKey);
    void beginArray(const char* in_szKey);
    /// One item of an array.
    void beginItem();
    void end();
    /// @}
    /// A text as an item of an array; of UTF-8.
    void putItem(const std::string& in_strText);

    /// The object, which is whole when all that was begun has its end.
    std::string getLine() const { return m_strText + "}"; }
    /// The same without its end, for those who write more behind it.
    const std::string& getOpenLine() const { return m_strText; }

private:
    void separate();
    void putKey(const std::string& in_strKey);
    void begin(char in_cOpening, char in_cClosing);

    std::string m_strText = "{";
    std::string m_strEnds; // of what is open, the innermost last
};

} // namespace Corvana::Tools
