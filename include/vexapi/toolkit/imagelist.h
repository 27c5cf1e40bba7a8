// ImageList: a numbered set of pictures of one size, for toolbars, trees and lists.
#pragma once

#include <vexapi/core/object.h>
#include <vexapi/toolkit/picture.h>

#include <vector>

// Pictures of another size are scaled to the list's on the way in. Indexes run from 0;
// an index out of range is refused (false, or an empty picture).
class VEXAPI_API ImageList : public virtual Object {
public:
    ImageList() = default;
    ~ImageList() override;

    bool create(int width, int height);
    void destroy();
    bool isCreated() const { return m_width > 0; }
    int width() const { return m_width; }
    int height() const { return m_height; }
    int getImagesCount() const { return int(m_pictures.size()); }
    void clear() { m_pictures.clear(); }
    // Gives the new picture's index, or -1 (no list, or an empty picture).
    int addPicture(const Picture& picture);
    bool deletePicture(int index);
    bool setPicture(int index, const Picture& picture);
    // A picture sharing the list's (one increment).
    Picture createPicture(int index) const;

private:
    Picture fitted(const Picture& picture) const;

    int m_width = 0;
    int m_height = 0;
    std::vector<Picture> m_pictures;
};
