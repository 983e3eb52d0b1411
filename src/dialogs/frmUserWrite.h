#pragma once

// The user write dialog: the write data of a one-shot request, filled in by
// the user element by element before the request is queued. Each row is a
// panel element whose register or bits lie inside the request's write block.

#include <deque>
#include <memory>
#include <string>
#include <vector>

#include "device/frmQuorvel.h"

namespace quorvel {

struct UserWriteRow {
  std::shared_ptr<CtrlProp> element;
  // The label the panel shows beside the element's value with its address,
  // "Pressure [bar] (HR0022)", or the address alone when the panel has none.
  std::string Caption;
  // What the user sees and types: the element's value, or for a mask write
  // the mask ("1" set, "0" clear, "x" leave).
  std::string Text;
  // Why the text was refused on the last OK; empty otherwise.
  std::string Refusal;
};

class frmUserWrite {
 public:
  frmUserWrite(frmQuorvel& window, const ElementCollection& elements, std::deque<std::shared_ptr<ReqProp>>& pending,
               std::shared_ptr<ReqProp> request);

  const std::string& Caption() const { return caption_; }
  // Rows hold masks ("1" set, "0" clear, "x" leave) rather than values.
  bool MaskWrite() const;
  bool Visible() const { return visible_; }
  std::vector<UserWriteRow>& Rows() { return rows_; }
  const std::vector<UserWriteRow>& Rows() const { return rows_; }

  // Queues a filled copy of the request and closes, or, when a row does not
  // read, marks it and stays open with nothing queued. True when queued.
  bool cmdOK_Click();
  void cmdCancel_Click() { visible_ = false; }

 private:
  frmQuorvel& window_;
  std::deque<std::shared_ptr<ReqProp>>& pending_;
  std::shared_ptr<ReqProp> request_;
  std::vector<UserWriteRow> rows_;
  std::string caption_;
  bool visible_ = true;
};

}  // namespace quorvel
