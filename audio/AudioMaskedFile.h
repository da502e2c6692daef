// SPDX-License-Identifier: Apache-2.0
#pragma once

#include <memory>
#include <sndfile.h>

namespace Corvana::Audio {

/// A WAV file for libsndfile in which no list of labels is to be seen while it is opened: in place of the name "LIST"
/// stands that of a chunk that everybody passes over. For files with lists that libsndfile may never come to an end of.
class MaskedFile
{
public:
    /// Null for each file that libsndfile can read as it is, and for what cannot be looked into.
    static std::unique_ptr<MaskedFile> openWhereNeeded(const char* in_szFileName);

    ~MaskedFile();
    MaskedFile(const MaskedFile&) = delete;
    MaskedFile& operator=(const MaskedFile&) = delete;

    /// Opens it for libsndfile, for which it has to stay; from then on the file is read as it is.
    SNDFILE* open(SF_INFO& out_info);
    /// What the system said when it could not read; 0: nothing. It is forgotten with this call.
    int takeError();

private:
    explicit MaskedFile(int in_iDescriptor)
        : m_iDescriptor(in_iDescriptor)
    {
    }

    static sf_count_t length(void* in_pFile);
    static sf_count_t seek(sf_count_t in_iOffset, int in_iWhence, void* inout_pFile);
    static sf_count_t read(void* out_pBytes, sf_count_t in_iCount, void* inout_pFile);
    static sf_count_t write(const void* in_pBytes, sf_count_t in_iCount, void* inout_pFile);
    static sf_count_t tell(void* in_pFile);

    sf_count_t readMasked(char* out_pBytes, sf_count_t in_iCount);

    int m_iDescriptor;
    sf_count_t m_iPosition = 0;
    bool m_bMasked = true;
    int m_iError = 0;
};

} // namespace Corvana::Audio
