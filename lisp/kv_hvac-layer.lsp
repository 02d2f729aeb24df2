;;; The application layer's side of the module's calls: every function the module asks of LISP.
;;; Each answers "no answer" (nil), which leaves the module's own default in force, until the
;;; part of the application that owns it replaces the definition. The duct graph, the duct
;;; settings and the alignment conversions are in kv_hvac-ducts.lsp, the elevation list in
;;; kv_hvac-ductcmds.lsp, the room table in kv_hvac-rooms.lsp, the floor and zone trees' callbacks
;;; in kv_hvac-trees.lsp, and the data dialogs' queries and block replacement in kv_hvac-dialogs.lsp.

;; Tells the user that no drawing file defines the block NAME.
(defun kvBlock-alertMissing (name)
  (princ (strcat "\nBlock " name " not found."))
  nil)

;; Runs the work left for a drawing that has just become active. Nothing is left yet.
(defun c:kv_hvac-doToDo () (princ))
