;;; The application layer's side of the module's calls: every function the module asks of LISP.
;;; Each answers "no answer" (nil), which leaves the module's own default in force, until the
;;; part of the application that owns it replaces the definition. The duct graph, the duct
;;; settings and the alignment conversions are in kv_hvac-ducts.lsp, the elevation list in
;;; kv_hvac-ductcmds.lsp, the room table in kv_hvac-rooms.lsp, and the data dialogs' queries and
;;; block replacement in kv_hvac-dialogs.lsp.

;; Tells the user that no drawing file defines the block NAME.
(defun kvBlock-alertMissing (name)
  (princ (strcat "\nBlock " name " not found."))
  nil)

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
