#include "std/tlvstd.h"

#include <iostream>

int main()
{
    try {
        throw ycShapesError::BadParams();
    } catch (const ycShapesError::Errors& e) {
        std::string text = yfToUtf8(e.message(true));
        std::cout << text << '\n';
        return text == "ycShapesError::BadParams: no further information provided" ? 0 : 1;
    }
}
