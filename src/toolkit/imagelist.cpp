// ImageList: pictures of one size in a numbered set.
#include <vexapi/toolkit/imagelist.h>

ImageList::~ImageList() = default;

bool ImageList::create(int width, int height)
{
    if (width <= 0 || height <= 0)
        return false;
    m_pictures.clear();
    m_width = width;
    m_height = height;
    return true;
}

void ImageList::destroy()
{
    m_pictures.clear();
    m_width = m_height = 0;
}

Picture ImageList::fitted(const Picture& picture) const
{
    if (picture.width() == m_width && picture.height() == m_height)
        return picture;
    return picture.scale(m_width, m_height);
}

int ImageList::addPicture(const Picture& picture)
{
    if (!isCreated() || picture.empty())
        return -1;
    Picture p = fitted(picture);
    if (p.empty())
        return -1;
    m_pictures.push_back(p);
    return int(m_pictures.size()) - 1;
}

bool ImageList::deletePicture(int index)
{
    if (index < 0 || index >= getImagesCount())
        return false;
    m_pictures.erase(m_pictures.begin() + index);
    return true;
}

bool ImageList::setPicture(int index, const Picture& picture)
{
    if (index < 0 || index >= getImagesCount() || picture.empty())
        return false;
    Picture p = fitted(picture);
    if (p.empty())
        return false;
    m_pictures[std::size_t(index)] = p;
    return true;
}

Picture ImageList::createPicture(int index) const
{
    if (index < 0 || index >= getImagesCount())
        return Picture();
    return m_pictures[std::size_t(index)];
}
