#include "std/tlvstd.h"

#include <iostream>

int main()
{
    // PNG goes through libspng, which the installed package must link.
    ycPelBuffer<unsigned char> grey(3, 2);
    grey.put(2, 1, 77);
    const auto back = yfReadImageBytesAs<ycPelBuffer<unsigned char>>(yfWriteImageBytes(grey, ycImageFileFormat::png));
    if (back.get(2, 1) != 77) return 1;
    try {
        throw ycShapesError::BadParams();
    } catch (const ycShapesError::Errors& e) {
        std::string text = yfToUtf8(e.message(true));
        std::cout << text << '\n';
        return text == "ycShapesError::BadParams: no further information provided" ? 0 : 1;
    }
}
