// A library that carries the foundation, for the test that unloads it.
#include "foundation/byte_buffer.h"
#include "foundation/export.h"
#include "foundation/string.h"

extern "C" VT_API int vtWork();

// What fills the lists of the calling thread.
int vtWork() {
    MiByteBuffer buffer(2000);
    for (int i = 0; i < 50; ++i) {
        const MiString* const text = new MiString("serialNumber");
        buffer.Append(text->GetChars(), text->GetLength());
        delete text;
    }
    return static_cast<int>(buffer.GetLength());
}
