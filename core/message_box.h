// What the message functions show, for finished texts.
#ifndef VEXA_CORE_MESSAGE_BOX_H
#define VEXA_CORE_MESSAGE_BOX_H

namespace vexa
{

// A box with the caption "MESSAGE" and the text as it stands.
void showMessage(const char* text);
// The same with the text read as a format without arguments: "%%" shows as "%", all else stands as it is.
void showMessageFormat(const char* text);

} // namespace vexa

#endif
