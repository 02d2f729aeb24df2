;;; The application layer's side of the module's calls: every function the module asks of LISP.
;;; Each answers "no answer" (nil), which leaves the module's own default in force, until the
;;; part of the application that owns it replaces the definition.

;; Converts a row's point (x y z) to drawing coordinates by the alignment point numbered ALIGN.
;; No answer: the module keeps the point as it is.
(defun convert_rp_dp (pt align) nil)

;; Converts a row's angle to drawing coordinates by the alignment point numbered ALIGN.
;; No answer: the module keeps the angle as it is.
(defun convert_ra_da (ang align) nil)

;; The ixDiffL of the diffuser at the end of duct IXDUCT. No answer: no diffuser there.
(defun duct-getIxDiffL (ixDuct) nil)

;; The three ducts that follow IXDUCT, as a point or as three ints. No answer: no next duct.
(defun getNextDuctsTransparent (ixDuct unused transparent) nil)

;; The duct that leads into IXDUCT. No answer: none.
(defun getPrevDuct (ixDuct unused) nil)

;; The project's duct settings as a keyed list of (key value). No answer: no settings, the
;; module's built-in defaults apply.
(defun duct-getSettings (unused) nil)

;; Lets the user pick one of ELEVATIONS under PROMPT; answers the chosen index. No answer: the
;; module keeps -1 (nothing chosen).
(defun duct-elevationListDialog (elevations prompt none one) nil)

;; Runs the Project Explorer's query of list IXLIST for device type DEVTYPE. Effect only.
(defun projectExplorer-query-HVAC (ixList devType) nil)

;; Runs the Project Explorer's schedule query IXSCH for device type DEVTYPE. Effect only.
(defun projectExplorer-querySchedule-HVAC (ixSch devType) nil)

;; Tells the user that no drawing file defines the block NAME.
(defun kvBlock-alertMissing (name)
  (princ (strcat "\nBlock " name " not found."))
  nil)

;; Deletes the diffuser block IXDWGDIFF and answers the 2D point of its replacement.
;; No answer: the deletion is refused.
(defun util-deleteBlocks (ixDwgDiff app kind pairs) nil)

;; Store the floor or zone tree that the dialog hands back. Effect only.
(defun kv_hvac-floorTree-saveTree (tree) nil)
(defun kv_hvac-zoneTree-saveTree (tree) nil)

;; Create a room from the tree dialogs; answer the new tree list. No answer: the tree stays.
(defun kv_hvac-floorTree-createRoom () nil)
(defun kv_hvac-zoneTree-createRoom () nil)

;; The floor tree's buttons on the item with data ITEM: answer an optional item to select and
;; then the new tree list. No answer: the tree stays.
(defun kv_hvac-floorTree-edit (item) nil)
(defun kv_hvac-floorTree-editFloors (item) nil)
(defun kv_hvac-floorTree-editRooms (item) nil)
(defun kv_hvac-floorTree-rename (item) nil)

;; The zone tree's buttons, answered as the floor tree's.
(defun kv_hvac-zoneTree-edit (item) nil)
(defun kv_hvac-zoneTree-editRooms (item) nil)
(defun kv_hvac-zoneTree-editZones (item) nil)
(defun kv_hvac-zoneTree-rename (item) nil)

;; Shows the zone of ITEM in the drawing. Effect only.
(defun kv_hvac-zoneTree-view (item) nil)

;; Runs the work left for a drawing that has just become active. Nothing is left yet.
(defun c:kv_hvac-doToDo () (princ))
