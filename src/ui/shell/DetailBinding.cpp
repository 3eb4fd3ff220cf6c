#include "DetailBinding.h"

#include "AppModel.h"
#include "chat/DetailView.h"

namespace teskal {

DetailBinding::DetailBinding(AppModel& model, DetailView& detail) : model_(model), detail_(detail) {
    connect(&detail, &DetailView::newChatRequested, &model, &AppModel::newChat);
    connect(&detail, &DetailView::newPrivateChatRequested, &model, &AppModel::newPrivateChat);
    connect(&detail, &DetailView::stopRequested, &model, &AppModel::stop);
    connect(&model, &AppModel::selectionChanged, this, &DetailBinding::showChat);
    connect(&model, &AppModel::busyChanged, this, &DetailBinding::showChat);
    showChat();
}

void DetailBinding::showChat() {
    const Chat* chat = model_.selectedChat();
    detail_.setTitle(chat ? chat->title : QString());
    detail_.setPrivate(model_.isPrivateShown());
    detail_.setEmpty(!chat || chat->messages.isEmpty());
    detail_.setBusy(model_.isBusy());
}

} // namespace teskal
