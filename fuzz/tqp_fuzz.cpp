// Feeds arbitrary bytes to the team colour pattern reader (".tqp": the current TPAT form and the
// older PTLR layers), and reads every byte of what a successful load holds: each mask of the
// pattern's size and the dirt image.
#include "fuzzsupport.h"
#include "teamcolour/pattern.h"

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    static const bool s_quiet = fuzz::Quiet();
    (void)s_quiet;
    if (size == 0 || size > 0x7FFFFFFF)
        return 0;
    RamStream stream;
    fuzz::LendReadOnly(stream, data, size);
    ByteStreamAdapter adapter(stream);
    std::unique_ptr<TeamColour::Pattern> pPattern = TeamColour::Pattern::Load(adapter, "fuzz.tqp");
    if (!pPattern)
        return 0;
    uint32 sum = 0;
    for (int layer = 0; layer < TeamColour::Pattern::LAYER_PATTERN_COUNT; ++layer)
        if (const uint8* pMask = pPattern->GetLayer(layer))
            for (size_t i = 0; i < pPattern->GetMaskSize(); ++i)
                sum += pMask[i];
    volatile uint32 keep = sum;
    (void)keep;
    fuzz::TouchImage(pPattern->GetDirtImage());
    return 0;
}
