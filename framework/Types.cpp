#include "framework/Types.h"

std::string FourCCToString(FourCharCode code) {
    std::string s(4, '?');
    for (int i = 0; i < 4; ++i) {
        const char c = static_cast<char>((code >> (24 - 8 * i)) & 0xff);
        if (c >= 0x20 && c < 0x7f) { // printable ASCII only
            s[i] = c;
        }
    }
    return s;
}

AudioStreamBasicDescription MakeCanonicalFormat(Float64 sampleRate, UInt32 channels) {
    AudioStreamBasicDescription f;
    f.mSampleRate = sampleRate;
    f.mChannelsPerFrame = channels;
    return f;
}
