// A window of Windows that shows a picture, stretched into it. With OUT.ppm, what a device in memory of the
// window's size holds of it goes there too.
//
//     show_picture PICTURE [OUT.ppm]

#include <memory>
#include <string>

#include <vorlane/vorlane.h>

#include <shellapi.h>

namespace {

constexpr int width = 480;
constexpr int height = 360;

LRESULT CALLBACK answer(HWND window, UINT message, WPARAM wide, LPARAM lengthy) {
    switch (message) {
    case WM_NCCREATE: // keeps the picture that CreateWindow was given
        SetWindowLongPtrW(
            window, GWLP_USERDATA,
            reinterpret_cast<LONG_PTR>(reinterpret_cast<CREATESTRUCTW*>(lengthy)->lpCreateParams));
        break;
    case WM_PAINT: {
        PAINTSTRUCT paint;
        RECT area;
        GetClientRect(window, &area);
        CDC dc;
        dc.m_hDC = BeginPaint(window, &paint);
        reinterpret_cast<CDib*>(GetWindowLongPtrW(window, GWLP_USERDATA))
            ->Draw(&dc, 0, 0, area.right, area.bottom);
        EndPaint(window, &paint);
        return 0;
    }
    case WM_DESTROY:
        PostQuitMessage(0);
        return 0;
    }
    return DefWindowProcW(window, message, wide, lengthy);
}

// Arguments in UTF-8, as the library takes paths.
std::string argument(const wchar_t* text) {
    std::string result(3 * std::char_traits<wchar_t>::length(text) + 1, '\0');
    const int size = WideCharToMultiByte(CP_UTF8, 0, text, -1, result.data(),
                                         static_cast<int>(result.size()), nullptr, nullptr);
    result.resize(static_cast<std::size_t>(size - 1));
    return result;
}

int write_as_seen_in_memory(CDib& bitmap, const std::string& path) {
    CMemoryDC device(width, height, CMemoryDC::true_colour);
    bitmap.Draw(&device, 0, 0, width, height);
    CImage seen(height, width, vorlane::ImageType::colour, vorlane::FileFormat::ppm,
                vorlane::PixelFormat::byte);
    unsigned char row[3 * width];
    for (int i = 0; i < height; ++i) {
        device.GetRow(i, row);
        for (int k = 0; k < 3 * width; ++k)
            seen.pixels[i][k] = row[k];
    }
    return seen.WriteImage(path.c_str());
}

} // namespace

int main() {
    int count = 0;
    LPWSTR* const arguments = CommandLineToArgvW(GetCommandLineW(), &count);
    CImage image;
    if (count < 2 || !image.ReadImage(argument(arguments[1]).c_str()))
        return 1;
    CDib bitmap(&image, 0, 0.0f, 0.0f);
    if (count > 2 && !write_as_seen_in_memory(bitmap, argument(arguments[2])))
        return 1;

    WNDCLASSW kind = {};
    kind.lpfnWndProc = answer;
    kind.hInstance = GetModuleHandleW(nullptr);
    kind.hCursor = LoadCursor(nullptr, IDC_ARROW);
    kind.lpszClassName = L"Picture";
    RegisterClassW(&kind);
    RECT frame = {0, 0, width, height};
    AdjustWindowRect(&frame, WS_OVERLAPPEDWINDOW, FALSE);
    if (!CreateWindowW(kind.lpszClassName, arguments[1], WS_OVERLAPPEDWINDOW | WS_VISIBLE, 0, 0,
                       frame.right - frame.left, frame.bottom - frame.top, nullptr, nullptr,
                       kind.hInstance, &bitmap))
        return 1;
    MSG message;
    while (GetMessageW(&message, nullptr, 0, 0) > 0) {
        TranslateMessage(&message);
        DispatchMessageW(&message);
    }
    return 0;
}
