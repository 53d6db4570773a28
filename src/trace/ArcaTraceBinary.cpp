// CCArcaTrace: hex and character dumps of binary data.
#include "ArcaTrace.h"

#include <cstdio>
#include <cstring>

void CCArcaTrace::TraceBinary(unsigned nLevel, const char* szFunction, const char* szCategory,
                              const char* szText, const void* pData, unsigned nBytes, unsigned nBytesPerLine,
                              unsigned nBytesPerGroup, bool bSkipTrailingZeros)
{
    if (!IsActive(nLevel))
    {
        return;
    }
    Trace(nLevel, szFunction, szCategory, szText, "Binary data at address 0x%p (%d Bytes)\n", pData,
          static_cast<int>(nBytes));
    DumpBinary(static_cast<const unsigned char*>(pData), nBytes, nBytesPerLine, nBytesPerGroup,
               bSkipTrailingZeros);
}

void CCArcaTrace::TraceBinaryClassMethod(unsigned nLevel, const char* szClass, const char* szMethod,
                                         const char* szCategory, const char* szText, const void* pData,
                                         unsigned nBytes, unsigned nBytesPerLine, unsigned nBytesPerGroup,
                                         bool bSkipTrailingZeros)
{
    if (!IsActive(nLevel))
    {
        return;
    }
    TraceClassMethod(nLevel, szClass, szMethod, szCategory, szText,
                     "Binary data at address 0x%p (%d Bytes)\n", pData, static_cast<int>(nBytes));
    DumpBinary(static_cast<const unsigned char*>(pData), nBytes, nBytesPerLine, nBytesPerGroup,
               bSkipTrailingZeros);
}

// Each line: hex digits in groups, then the bytes as characters, then "\n". Whole lines
// of trailing zeros can be skipped. A last partial line of one byte less than a full line
// is not written (the dump has always behaved so).
void CCArcaTrace::DumpBinary(const unsigned char* pData, unsigned nBytes, unsigned nBytesPerLine,
                             unsigned nBytesPerGroup, bool bSkipTrailingZeros)
{
    // A line or group of zero bytes has no layout: nothing to dump (a zero group size would divide by zero).
    if (pData == nullptr || nBytesPerLine == 0 || nBytesPerGroup == 0)
    {
        return;
    }
    unsigned nLevel = m_nLevel;
    if (!LockIfActive(&nLevel))
    {
        return;
    }
    unsigned nSkippedLines = 0;
    unsigned nDumped = nBytes;
    if (bSkipTrailingZeros && nBytes > 0)
    {
        unsigned nLast = nBytes - 1;
        while (nLast > 0 && pData[nLast] == 0)
        {
            --nLast;
        }
        unsigned nSkippedBytes = nBytes - (nLast + 1);
        if (nSkippedBytes >= nBytesPerLine)
        {
            if (nLast + 1 < nBytesPerLine)
            {
                nSkippedBytes = nBytes - nBytesPerLine;
            }
            nSkippedLines = nSkippedBytes / nBytesPerLine;
            nDumped = nBytes - nSkippedLines * nBytesPerLine;
        }
    }

    const unsigned nGroups = nBytesPerLine / nBytesPerGroup;
    const unsigned nHexPart = 3 * nBytesPerLine + nGroups;
    const unsigned nLineLen = 4 * nBytesPerLine + 2 * nGroups;
    while (m_nBufSize < nLineLen + 1)
    {
        if (!GrowBuffer())
        {
            Unlock();
            return;
        }
    }
    memset(m_pBuffer, ' ', nLineLen);
    m_pBuffer[nLineLen - 1] = '\n';
    m_pBuffer[nLineLen] = '\0';
    m_nRecordLen = nLineLen;

    unsigned i = 0;
    for (unsigned n = 0; n < nDumped; ++n)
    {
        static const char acHex[] = "0123456789ABCDEF";
        i = n % nBytesPerLine;
        const unsigned char b = pData[n];
        char* pHex = m_pBuffer + 3 * i + i / nBytesPerGroup;
        pHex[0] = acHex[b >> 4];
        pHex[1] = acHex[b & 0x0F];
        m_pBuffer[nHexPart + i + i / nBytesPerGroup] = (b >= 32 && b <= 127) ? static_cast<char>(b) : '.';
        if (i == nBytesPerLine - 1)
        {
            WriteBuffer();
        }
    }
    const unsigned nRest = nDumped % nBytesPerLine;
    if (nRest >= 1 && nRest + 1 < nBytesPerLine)
    {
        for (unsigned j = nRest; j < nBytesPerLine; ++j)
        {
            char* pHex = m_pBuffer + 3 * j + j / nBytesPerGroup;
            pHex[0] = ' ';
            pHex[1] = ' ';
            m_pBuffer[nHexPart + j + j / nBytesPerGroup] = ' ';
        }
        WriteBuffer();
    }
    if (nSkippedLines > 0)
    {
        const int nLen =
            _snprintf(m_pBuffer, m_nBufSize, "... %d zero lines skipped\n", static_cast<int>(nSkippedLines));
        m_nRecordLen = nLen > 0 ? static_cast<size_t>(nLen) : 0;
        WriteBuffer();
    }
    Unlock();
}
