;;; The application layer's rooms: the project's list of rooms (index and name) in the project
;;; database, the arrow of the room leaders, and the commands that draw and relabel a room.

;; The block at the tip of every room leader, found as "<name>.dwg" beside the drawing or on the
;; support path, and its size in drawing units.
(setq room-arrowBlock "ROOMARROW"
      room-arrowSize 6.0)

;; The project file with its room list made sure of; nil without a project.
(defun room-hvac-table (/ file)
  (if (setq file (projectdb-currentFile))
    (progn
      (kvdb-execute file "CREATE TABLE IF NOT EXISTS tblRoomL (ixRoomL INTEGER PRIMARY KEY, sName TEXT)")
      file)))

;; Whether the project has no room yet; a drawing without a project has none.
(defun room-hvac-tableIsEmpty (/ file)
  (or (null (setq file (room-hvac-table)))
      (null (kvdb-query file "SELECT ixRoomL FROM tblRoomL" "ixRoomL"))))

;; The next free room index: above every index of the project's list and of the drawing's rooms,
;; so that a drawing made before its project still gets no index twice.
(defun room-hvac-nextIndex (/ file top ix)
  (setq top 0)
  (if (setq file (room-hvac-table))
    (foreach ix (kvdb-query file "SELECT ixRoomL FROM tblRoomL" "ixRoomL")
      (if (> ix top) (setq top ix))))
  (foreach e (ssgetx-room)
    (setq ix (cdr (assoc 90 (entget e))))
    (if (and ix (> ix top)) (setq top ix)))
  (1+ top))

;; Records room IX under NAME in the project's list (nothing without a project).
(defun room-hvac-register (ix name / file)
  (if (setq file (room-hvac-table))
    (kvdb-execute file (strcat "INSERT OR REPLACE INTO tblRoomL (ixRoomL, sName) VALUES ("
                               (itoa ix) ", '" (room-hvac-quote name) "')"))))

;; NAME with each single quote doubled, for a SQL literal.
(defun room-hvac-quote (name) (projectdb-doubled name "'"))

;; The room entity of index IX in the current drawing, or nil.
(defun room-hvac-entity (ix)
  (car (ssgetx-room ix)))

;; Draws a room by picks: outline points until Enter, then where its label goes. The room gets
;; the next index, NAME as its label and its place in the project's list. Answers the entity.
(defun room-hvac-draw (name / ix e)
  (setq ix (room-hvac-nextIndex))
  (if (setq e (kv_hvac-room-draw ix room-arrowBlock room-arrowSize name nil))
    (progn
      (room-hvac-register ix name)
      (princ (strcat "\nRoom " (itoa ix) " \"" name "\": " (rtos (kv_hvac-room-getArea e) 2 1)
                     " square units."))))
  e)

;; Renames the room that contains POINT; answers its index, nil when no room is there.
(defun room-hvac-relabel (point name / ix e)
  (if (and (setq ix (kv_hvac-room-find point)) (setq e (room-hvac-entity ix)))
    (progn
      (kv_hvac-room-updateLabel e name)
      (room-hvac-register ix name)
      ix)))

;; Command KV-ROOM: draws a room by picks and labels it "Room <index>".
(defun c:kv-room ()
  (if (not (room-hvac-draw (strcat "Room " (itoa (room-hvac-nextIndex)))))
    (princ "\nNo room drawn."))
  (princ))
